// VRML 1.0 and 2.0: the shown scene as a flat list of shapes, in world coordinates.
#include "exchange/vrml.h"

#include <cmath>
#include <ctime>

#include "scene/assembly.h"
#include "scene/part.h"
#include "scene/part_instance.h"

namespace tessera {
namespace {

constexpr float kUnit = 0.001f;

// MM/DD/YY
void PutDate(TextOutput& out) {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
#ifdef _WIN32
    localtime_s(&local, &now);
#else
    localtime_r(&now, &local);
#endif
    char text[16];
    out.Text({text, std::strftime(text, sizeof text, "%m/%d/%y", &local)});
}

void PutViewpoint(TextOutput& out, const BBox& box) {
    const double dx = static_cast<double>(box.xmax) - box.xmin, dy = static_cast<double>(box.ymax) - box.ymin;
    const double D = std::sqrt(dx * dx + dy * dy);
    out.Text("Transform\r\n{\r\n\ttranslation ");
    out.Fixed((static_cast<double>(box.xmin) + box.xmax) * 0.5 * 0.001, 3).Text(" ");
    out.Fixed((static_cast<double>(box.ymin) + box.ymax) * 0.5 * 0.001, 3).Text(" 0\r\n");
    out.Text("\tchildren\r\n\t[\r\n\tViewpoint {\r\n");
    out.Text("\t\tposition 0 ").Fixed(dy * -0.002, 3).Text(" ").Fixed(D * 0.002, 3).Text("\r\n");
    out.Text("\t\torientation 1 0 0 ");
    out.Fixed(std::acos(2 * D / std::sqrt(4 * D * D + 4 * dy * dy)), 3);
    out.Text("\r\n\t\t}\r\n\t]\r\n}\r\n");
}

// Text of 16 bits a character as one of 8 bits would be read, up to its first zero byte: one character of plain text,
// which is what readers of these files have always been given.
void PutAsNarrow(TextOutput& out, const String& text) {
    for (const OLECHAR unit : text)
        for (const int byte : {unit & 0xff, (unit >> 8) & 0xff}) {
            if (byte == 0) return;
            const char narrow = static_cast<char>(byte);
            out.Text({&narrow, 1});
        }
}

void PutHead(TextOutput& out, const CNode& root, const BBox& box) {
    out.Text(
        "#VRML V2.0 utf8\r\n"
        "WorldInfo {\r\n"
        "\tinfo \"Panoptel export VRML 2.0,\r\n"
        "\t\tBrelta, Inc.\r\n"
        "\t\tAuthor: ");
    PutAsNarrow(out, root.userName);
    out.Text("\r\n\t\tDate: ");
    PutDate(out);
    out.Text("\"\r\n\ttitle \"").Text(ToCodePage(root.title)).Text("\"\r\n\t}\r\n");
    PutViewpoint(out, box);
    out.Text("Group\r\n{\r\nchildren\r\n\t[\r\n");
}

}  // namespace

void PutNumbers(TextOutput& out, std::string_view before, const Vec3& v, std::string_view behind) {
    constexpr int kDecimals = 6;
    out.Text(before).Fixed(v.x, kDecimals).Text(" ").Fixed(v.y, kDecimals).Text(" ").Fixed(v.z, kDecimals).Text(behind);
}

void PutColor(TextOutput& out, std::string_view before, const Color& color) {
    PutNumbers(out, before, {color.red, color.green, color.blue}, "\r\n");
}

void PutPoint(TextOutput& out, std::string_view before, const Vec3& local, const CMatrix& matrix) {
    PutNumbers(out, before, TransformPoint(local, matrix) * kUnit, ",\r\n");
}

void WriteVRMLFile(const String& path, CNode& root, Vrml version) {
    OutputFile file(path, OutputFile::Kind::Text);
    if (!file.IsOpen()) return;
    TextOutput out(file);
    const CMatrix identity;
    if (version == Vrml::One)
        out.Text("#VRML V1.0 ascii\n\r\nSeparator {\r\n");
    else
        PutHead(out, root, root.GetBoundBox(identity, identity, false, identity));
    root.WriteVRML(out, identity, 0, version);
    out.Text(version == Vrml::One ? "}\r\n" : "\t]\r\n}\r\n");
    out.Flush();
    file.Commit();
}

void CAssembly::WriteVRML(TextOutput& out, const CMatrix& M, int flip, Vrml version) {
    if (drawingEnabled == 0) return;
    const CMatrix T = transform * M;
    for (CNode* child : children_) child->WriteVRML(out, T, mirrored != 0 ? !flip : flip, version);
}

void CPartInstance::WriteVRML(TextOutput& out, const CMatrix& M, int flip, Vrml version) {
    if (!part_ || drawingEnabled == 0) return;
    const CMatrix T = transform * M;
    for (const auto& element : part_->Elements()) {
        if (version == Vrml::One)
            element->WriteVRML(out, T, mirrored != 0 ? !flip : flip);
        else
            element->WriteVRML2(out, T);
    }
}

}  // namespace tessera
