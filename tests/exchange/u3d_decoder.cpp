#include "exchange/u3d_decoder.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>
#include <set>
#include <span>

namespace tessera::test {

namespace {

using Mesh = U3dContent::Mesh;
using Face = U3dContent::Face;
using Vec3 = U3dContent::Vec3;
using Vec4 = U3dContent::Vec4;
using Corners = U3dContent::Corners;
using Set = std::set<std::uint32_t, std::greater<>>;  // every enumeration runs from the highest number down

bool IsUtf8(const std::string& text) {
    for (std::size_t i = 0; i < text.size();) {
        const unsigned lead = static_cast<unsigned char>(text[i++]);
        const int more = lead < 0x80 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
        unsigned code = more == 0 ? lead : lead & (0x3Fu >> more);
        for (int k = 0; k < more; ++k, ++i) {
            if (i == text.size() || (text[i] & 0xC0) != 0x80) return false;
            code = code << 6 | (text[i] & 0x3F);
        }
        constexpr unsigned least[] = {0, 0x80, 0x800, 0x10000};
        if ((lead & 0xC0) == 0x80 || lead > 0xF4 || code < least[more] || code > 0x10FFFF) return false;
        if (code >= 0xD800 && code < 0xE000) return false;
    }
    return true;
}

}  // namespace

std::string U3dBitReader::String() {
    std::string text(U16(), '\0');
    for (char& c : text) c = static_cast<char>(U8());
    Require(IsUtf8(text), "a string that is not UTF-8");
    return text;
}

namespace {

Vec3 operator+(const Vec3& a, const Vec3& b) { return {a[0] + b[0], a[1] + b[1], a[2] + b[2]}; }
Vec3 operator-(const Vec3& a, const Vec3& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
Vec3 operator*(float f, const Vec3& a) { return {f * a[0], f * a[1], f * a[2]}; }
float Dot(const Vec3& a, const Vec3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
Vec3 Cross(const Vec3& a, const Vec3& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

// False for a vector without direction, which stays as it is.
bool Normalise(Vec3& v) {
    if (std::all_of(v.begin(), v.end(), [](float f) { return std::fabs(f) < 1e-7f; })) return false;
    v = 1 / std::sqrt(Dot(v, v)) * v;
    return true;
}

Vec3 Slerp(const Vec3& from, Vec3 to, float t) {
    float cosine = Dot(from, to);
    if (cosine < 0) {
        to = -1.0f * to;
        cosine = -cosine;
    }
    if (!(1 - cosine > 1e-6f)) return (1 - t) * from + t * to;
    const float angle = std::acos(cosine), sine = std::sin(angle);
    return std::sin((1 - t) * angle) / sine * from + std::sin(t * angle) / sine * to;
}

// Where in `entries` the largest dot product with `v` is, the first such.
std::size_t Nearest(const std::vector<Vec3>& entries, const Vec3& v) {
    std::size_t best = 0;
    for (std::size_t k = 1; k < entries.size(); ++k) {
        if (Dot(entries[k], v) > Dot(entries[best], v)) best = k;
    }
    return best;
}

// `count` normals that are spread over the normals of the faces around a position, each then drawn to the middle of
// those nearest to it.
std::vector<Vec3> PredictNormals(const std::vector<Vec3>& around, std::size_t count) {
    if (around.empty() || count == 0) return std::vector<Vec3>(count);
    std::vector<Vec3> list{around[0]};
    while (list.size() < count) {
        Vec3 farthest = around[0];
        float smallest = 1;
        for (const Vec3& g : around) {
            const float nearness = Dot(g, list[Nearest(list, g)]);
            if (nearness < smallest) farthest = g;
            smallest = std::min(smallest, nearness);
        }
        list.push_back(farthest);
    }
    std::vector<int> chosen(count);
    for (const Vec3& g : around) {
        const std::size_t k = Nearest(list, g);
        list[k] = Slerp(list[k], g, 1 / static_cast<float>(++chosen[k]));
    }
    return list;
}

int CornerAt(const Face& face, std::uint32_t position) {
    return static_cast<int>(std::find(face.positions.begin(), face.positions.end(), position) - face.positions.begin());
}

// The updates of one progressive block: each adds one position and what goes with it.
class Updates {
public:
    Updates(U3dBitReader& in, Mesh& mesh) : in_(in), mesh_(mesh), around_(mesh.positions.size()) {
        for (std::uint32_t f = 0; f < mesh.faces.size(); ++f) Enter(f);
    }

    void AddPosition() {
        added_ = static_cast<std::uint32_t>(mesh_.positions.size());
        around_.resize(added_ + 1);
        split_ = ReadIndex(0x400 + added_, std::max(added_, 1u));
        ReadColors();
        in_.Require(in_.Compressed16(101) == 0, "specular colours");
        in_.Require(in_.Compressed16(123) == 0, "texture coordinates");
        std::vector<Face> made = ReadFaces();
        std::vector<Move> moves = ReadMoves(made);
        for (Move& move : moves) ReadMovedColor(move);
        for (Face& face : made) ReadFaceColors(face);
        for (const Move& move : moves) {
            Face& face = mesh_.faces[move.face];
            face.positions[move.corner] = added_;
            face.colors[move.corner] = move.color;
            around_[split_].erase(move.face);
            around_[added_].insert(move.face);
        }
        for (const Face& face : made) {
            mesh_.faces.push_back(face);
            Enter(static_cast<std::uint32_t>(mesh_.faces.size() - 1));
        }
        const auto d = ReadDifference(in_.Below(in_.Compressed8(20), 8, "signs"), 21, 3, mesh_.positionQuant);
        mesh_.positions.push_back((added_ == 0 ? Vec3{} : mesh_.positions[split_]) + Vec3{d[0], d[1], d[2]});
        if (mesh_.normalsExcluded) return;
        for (const std::uint32_t p : NeighboursOf(added_)) ReadNormals(p);
    }

private:
    struct Move {
        std::uint32_t face;
        int corner;
        std::uint32_t color;
    };

    void Enter(std::uint32_t face) {
        for (const std::uint32_t p : mesh_.faces[face].positions) around_[p].insert(face);
    }

    Set ColorsAt(std::uint32_t position) const {
        Set colors;
        for (const std::uint32_t f : around_[position]) {
            const Face& face = mesh_.faces[f];
            if (mesh_.colored[face.shading]) colors.insert(face.colors[CornerAt(face, position)]);
        }
        return colors;
    }

    Set NeighboursOf(std::uint32_t position) const {  // itself among them
        Set neighbours;
        for (const std::uint32_t f : around_[position]) {
            neighbours.insert(mesh_.faces[f].positions.begin(), mesh_.faces[f].positions.end());
        }
        return neighbours;
    }

    std::uint32_t ReadIndex(std::uint32_t context, std::size_t limit) {
        return in_.Below(in_.Compressed32(context), limit, "index");
    }
    std::uint32_t ReadMember(std::uint32_t context, const Set& set) {
        return *std::next(set.begin(), ReadIndex(context, set.size()));
    }
    std::uint32_t ReadChoice(std::uint32_t context, std::uint32_t first, std::uint32_t last) {
        const std::uint32_t choice = in_.Compressed8(context);
        in_.Require(choice >= first && choice <= last, "unknown choice " + std::to_string(choice));
        return choice;
    }
    Vec4 ReadDifference(std::uint32_t signs, std::uint32_t context, std::uint32_t count, float quant) {
        Vec4 difference{};
        for (std::uint32_t k = 0; k < count; ++k) {
            const float size = quant * static_cast<float>(in_.Compressed32(context + k));
            difference[k] = (signs >> k & 1) != 0 ? -size : size;
        }
        return difference;
    }

    void ReadColors() {
        firstColor_ = static_cast<std::uint32_t>(mesh_.colors.size());
        Vec4 mean{};
        const Set around = ColorsAt(split_);
        for (const std::uint32_t c : around) {
            for (int k = 0; k < 4; ++k) mean[k] += mesh_.colors[c][k];
        }
        for (float& f : mean) f = around.empty() ? 0 : f / static_cast<float>(around.size());
        for (std::uint32_t count = in_.Compressed16(99); count > 0; --count) {
            // The components come with blue first.
            const auto d = ReadDifference(in_.Below(in_.Compressed8(100), 16, "signs"), 60, 4, mesh_.colorQuant);
            mesh_.colors.push_back({mean[0] + d[2], mean[1] + d[1], mean[2] + d[0], mean[3] + d[3]});
        }
    }

    std::vector<Face> ReadFaces() {
        const std::size_t missing = mesh_.faceCount - mesh_.faces.size();
        std::vector<Face> made(in_.Below(in_.Compressed32(1), missing + 1, "number of new faces"));
        Set near = NeighboursOf(split_);
        near.erase(split_);
        for (Face& face : made) {
            face.shading = ReadIndex(65, mesh_.colored.size());
            const bool left = ReadChoice(2, 1, 2) == 1, local = ReadChoice(3, 1, 2) == 1;
            const std::uint32_t third = local ? ReadMember(4, near) : ReadIndex(0x400 + added_, added_);
            in_.Require(third != split_, "a new face has one position twice");
            near.insert(third);
            face.positions = left ? Corners{split_, added_, third} : Corners{added_, split_, third};
        }
        return made;
    }

    std::vector<Move> ReadMoves(const std::vector<Face>& made) {
        std::vector<Move> moves;
        Set left, right, moved, stayed;
        for (const Face& face : made) (face.positions[0] == split_ ? left : right).insert(face.positions[2]);
        for (const std::uint32_t f : around_[split_]) {
            const Face& face = mesh_.faces[f];
            const int corner = CornerAt(face, split_);
            const std::uint32_t a = face.positions[(corner + 1) % 3], b = face.positions[(corner + 2) % 3];
            std::uint32_t guess = stayed.count(a) + stayed.count(b) != 0 ? 4 : 0;
            if (moved.count(a) + moved.count(b) != 0) guess = 3;
            if (left.count(b) != 0) guess = 1;
            if (right.count(b) + left.count(a) != 0) guess = 2;
            if (right.count(a) != 0) guess = 1;
            const bool goes = ReadChoice(15 + guess, 0, 1) == 1;
            if (goes) moves.push_back({f, corner, face.colors[corner]});
            (goes ? moved : stayed).insert({a, b});
        }
        return moves;
    }

    void ReadMovedColor(Move& move) {
        if (!mesh_.colored[mesh_.faces[move.face].shading] || ReadChoice(104, 1, 2) == 2) return;
        const std::uint32_t kind = ReadChoice(105, 1, 3);
        if (kind == 1) move.color = firstColor_ + ReadIndex(106, mesh_.colors.size() - firstColor_);
        if (kind == 2) move.color = ReadMember(107, ColorsAt(split_));
        if (kind == 3) move.color = ReadIndex(108, mesh_.colors.size());
    }

    void ReadFaceColors(Face& face) {
        if (!mesh_.colored[face.shading]) return;
        const std::uint32_t kept = ReadChoice(56, 0, 7);
        const Corners roles{split_, added_, face.positions[2]};
        for (int k = 0; k < 3; ++k) {
            if ((kept >> k & 1) == 0) {
                const bool local = ReadChoice(55, 2, 3) == 2;
                lastColors_[k] =
                    local ? ReadMember(119, ColorsAt(k == 2 ? roles[2] : split_)) : ReadIndex(120, mesh_.colors.size());
            }
            face.colors[CornerAt(face, roles[k])] = in_.Below(lastColors_[k], mesh_.colors.size(), "kept colour");
        }
    }

    void ReadNormals(std::uint32_t position) {
        std::vector<Vec3> flat;
        for (const std::uint32_t f : around_[position]) {
            const auto& [a, b, c] = mesh_.faces[f].positions;
            Vec3 u = mesh_.positions[b] - mesh_.positions[a], v = mesh_.positions[c] - mesh_.positions[a];
            if (!Normalise(u) || !Normalise(v)) continue;
            Vec3 normal = Cross(u, v);
            if (Normalise(normal)) flat.push_back(normal);
        }
        const std::uint32_t count = ReadIndex(40, around_[position].size() + 1);
        const auto first = static_cast<std::uint32_t>(mesh_.normals.size());
        for (const Vec3& v : PredictNormals(flat, count)) {
            const std::uint32_t signs = in_.Below(in_.Compressed8(41), 16, "signs");
            const auto d = ReadDifference(signs >> 1, 42, 3, mesh_.normalQuant);
            const Vec3 xyz{d[0], d[1], d[2]};
            const float w = std::sqrt(1 - std::min(1.0f, Dot(xyz, xyz)));
            mesh_.normals.push_back(((signs & 1) != 0 ? -w : w) * v + Cross(v, xyz));
        }
        for (const std::uint32_t f : around_[position]) {
            Face& face = mesh_.faces[f];
            face.normals[CornerAt(face, position)] = first + ReadIndex(45, count);
        }
    }

    U3dBitReader& in_;
    Mesh& mesh_;
    std::vector<Set> around_;  // for each position the faces that have a corner there
    Corners lastColors_{};     // of the last new face: at the split position, the added one, the third
    std::uint32_t split_ = 0, added_ = 0, firstColor_ = 0;
};

void ReadFloats(U3dBitReader& in, std::span<float> values) {
    for (float& f : values) f = in.F32();
}

void RequireZeros(U3dBitReader& in, int count, const std::string& what) {
    for (int i = 0; i < count; ++i) in.Require(in.U32() == 0, what);
}

void ReadParent(U3dBitReader& in, std::string& parent, U3dContent::Matrix& matrix) {
    in.Require(in.U32() == 1, "not exactly one parent");
    parent = in.String();
    ReadFloats(in, matrix);
    in.Require(matrix[3] == 0 && matrix[7] == 0 && matrix[11] == 0 && matrix[15] == 1, "fourth column of the matrix");
}

void ReadView(U3dBitReader& in, U3dContent::View& view) {
    ReadParent(in, view.parent, view.matrix);
    view.resource = in.String();
    view.perspective = in.Below(in.U32(), 4, "attributes of a view") < 2;
    view.nearClip = in.F32();
    view.farClip = in.F32();
    in.Require(view.nearClip > 0 && view.farClip > view.nearClip, "clip distances");
    view.projection = in.F32();
    ReadFloats(in, view.viewport);
    in.Require(view.viewport[0] > 0 && view.viewport[1] > 0, "viewport without size");
    RequireZeros(in, 2, "backdrops or overlays");
}

void ReadMesh(U3dBitReader& in, Mesh& mesh) {
    RequireZeros(in, 1, "chain index");
    mesh.normalsExcluded = in.Below(in.U32(), 2, "mesh attributes") == 1;
    for (std::uint32_t* n : {&mesh.faceCount, &mesh.positionCount, &mesh.normalCount, &mesh.colorCount}) *n = in.U32();
    RequireZeros(in, 2, "specular colours or texture coordinates");
    const std::uint32_t shadings = in.U32();
    in.Require(shadings > 0, "no shading description");
    for (std::uint32_t k = 0; k < shadings; ++k) {
        mesh.colored.push_back(in.Below(in.U32(), 2, "shading attributes") == 1);
        in.Require(!mesh.colored.back() || mesh.colorCount > 0, "faces with colours in a mesh without");
        RequireZeros(in, 1, "texture layers");
        in.Require(in.U32() == k, "original shading id");
    }
    mesh.minimum = in.U32();
    mesh.maximum = in.U32();
    in.Require(mesh.minimum <= mesh.maximum && mesh.maximum == mesh.positionCount, "resolution");
    for (std::uint32_t& quality : mesh.quality) quality = in.Below(in.U32(), 1001, "quality factor");
    float unused[2];  // the quants of texture coordinates and specular colours
    for (float* f : {&mesh.positionQuant, &mesh.normalQuant, &unused[0], &mesh.colorQuant, &unused[1], &mesh.crease,
                     &mesh.update, &mesh.tolerance}) {
        *f = in.F32();
        in.Require(std::isfinite(*f), "a number that isn't finite");
    }
    RequireZeros(in, 1, "bones");
}

void ReadBaseMesh(U3dBitReader& in, Mesh& mesh) {
    in.Require(mesh.blocks.empty() && mesh.minimum > 0, "an unexpected base mesh");
    const bool whole = mesh.minimum == mesh.maximum;
    const std::uint32_t faces = in.U32(), positions = in.U32(), normals = in.U32(), colors = in.U32();
    const bool asDeclared = faces == mesh.faceCount && normals == mesh.normalCount && colors == mesh.colorCount;
    in.Require(positions == mesh.minimum && (asDeclared || !whole), "numbers other than declared");
    in.Require(faces <= mesh.faceCount, "more faces than declared");
    in.Require(!mesh.normalsExcluded || normals == 0, "normals in a mesh without");
    RequireZeros(in, 2, "specular colours or texture coordinates");
    for (std::uint32_t i = 0; i < positions; ++i) ReadFloats(in, mesh.positions.emplace_back());
    for (std::uint32_t i = 0; i < normals; ++i) ReadFloats(in, mesh.normals.emplace_back());
    for (std::uint32_t i = 0; i < colors; ++i) ReadFloats(in, mesh.colors.emplace_back());
    const auto index = [&](std::uint32_t count) { return in.Below(in.Compressed32(0x400 + count), count, "index"); };
    for (std::uint32_t i = 0; i < faces; ++i) {
        Face& face = mesh.faces.emplace_back();
        face.shading = in.Below(in.Compressed32(1), mesh.colored.size(), "shading id");
        for (int k = 0; k < 3; ++k) {
            face.positions[k] = index(positions);
            if (!mesh.normalsExcluded) face.normals[k] = index(normals);
            if (mesh.colored[face.shading]) face.colors[k] = index(colors);
        }
        const auto& [a, b, c] = face.positions;
        in.Require(whole || (a != b && b != c && c != a), "a degenerate face below progressive blocks");
    }
}

struct Frame {  // of a block: its type, its data and where the next one starts
    std::uint32_t type;
    std::size_t begin, end, next;
};

class Decoder {
public:
    explicit Decoder(const std::vector<unsigned char>& bytes) : bytes_(bytes) {}

    U3dContent Decode() {
        const Frame header = ReadFrame(0, bytes_.size());
        U3dBitReader in(bytes_, header.begin, header.end);
        in.Require(header.type == 0x00443355, "no header");
        RequireZeros(in, 2, "version or profile");
        const std::size_t declared = in.U32();
        in.Require(in.U32() == bytes_.size() && in.U32() == 0, "file size");
        in.Require(in.U32() == 106, "character encoding");
        in.End();
        std::size_t declarationEnd = header.next;
        bool declarations = false, continuations = false;
        for (std::size_t at = header.next; at < bytes_.size();) {
            const Frame frame = ReadFrame(at, bytes_.size());
            U3dBitReader data(bytes_, frame.begin, frame.end);
            const bool continuation = frame.type == 0xFFFFFF3B || frame.type == 0xFFFFFF3C;
            const bool priority = frame.type == 0xFFFFFF15;
            data.Require(!continuations || continuation || priority, "a declaration after a continuation");
            ReadBlock(frame, data);
            at = frame.next;
            continuations = continuations || continuation;
            declarations = declarations || !(continuation || priority);
            // A priority before all declarations counts to them; one behind them starts the continuations.
            if (!continuation && !(priority && declarations)) declarationEnd = at;
        }
        in.Require(declared == declarationEnd, "declaration size, should be " + std::to_string(declarationEnd));
        CheckWhole(in);
        return content_;
    }

private:
    Frame ReadFrame(std::size_t at, std::size_t limit) {
        U3dBitReader in(bytes_, at, limit);
        Frame frame{in.U32(), at + 12, 0, 0};
        frame.end = frame.begin + in.U32();
        frame.next = (frame.end + 3) / 4 * 4;
        RequireZeros(in, 1, "metadata");
        in.Require(frame.next <= limit, "the block reaches past the end of what holds it");
        for (std::size_t i = frame.end; i < frame.next; ++i) in.Require(bytes_[i] == 0, "the padding is not zero");
        return frame;
    }

    void ReadBlock(const Frame& frame, U3dBitReader& in) {
        if (frame.type == 0xFFFFFF14) return ReadChain(in, frame.end);
        if (frame.type == 0xFFFFFF3B || frame.type == 0xFFFFFF3C) {
            ReadContinuation(frame.type == 0xFFFFFF3B, in);
        } else if (frame.type == 0xFFFFFF15) {
            const std::uint32_t priority = in.U32();
            in.Require(priority >= priority_, "the priority decreases");
            priority_ = priority;
        } else {
            ReadResource(frame.type, in);
        }
        in.End();
    }

    std::string NewName(U3dBitReader& in, std::set<std::string>& names) {
        const std::string name = in.String();
        in.Require(names.insert(name).second, "a second \"" + name + "\"");
        return name;
    }

    void ReadChain(U3dBitReader& in, std::size_t end) {
        const std::string name = in.String();
        const bool ofMesh = in.Below(in.U32(), 2, "chain type") == 1;
        RequireZeros(in, 1, "chain attributes");
        while (in.Offset() % 4 != 0) in.Require(in.U8() == 0, "the chain's padding is not zero");
        const std::uint32_t count = in.U32();
        in.Require(count == 1 || count == 2, "neither one block in the chain nor one with its shading modifier");
        const Frame first = ReadFrame(in.Offset(), end);
        U3dBitReader subject(bytes_, first.begin, first.end);
        subject.Require(NewName(subject, ofMesh ? meshes_ : nodes_) == name, "not the chain's name");
        std::vector<std::string>* shaders = nullptr;
        if (first.type == 0xFFFFFF22 && !ofMesh) {
            U3dContent::Node& node = content_.nodes.emplace_back();
            node.name = name;
            ReadParent(subject, node.parent, node.matrix);
            node.resource = subject.String();
            node.visibility = subject.Below(subject.U32(), 4, "visibility");
            shaders = &node.shaders;
        } else if (first.type == 0xFFFFFF24 && !ofMesh) {
            content_.views.emplace_back().name = name;
            ReadView(subject, content_.views.back());
        } else {
            subject.Require(first.type == 0xFFFFFF31 && ofMesh, "a chain that starts with another block");
            content_.meshes.emplace_back().name = name;
            ReadMesh(subject, content_.meshes.back());
            shaders = &content_.meshes.back().shaders;
        }
        subject.End();
        in.Require(count == 1 || shaders != nullptr, "a view with a modifier");
        const std::size_t at = count == 1 ? first.next : ReadModifier(first.next, end, name, *shaders);
        in.Require(at == end, "the chain's data go on behind its last block");
    }

    // A shading modifier, from the byte `at`; returns where it ends.
    std::size_t ReadModifier(std::size_t at, std::size_t limit, const std::string& name,
                             std::vector<std::string>& shaders) {
        const Frame frame = ReadFrame(at, limit);
        U3dBitReader in(bytes_, frame.begin, frame.end);
        in.Require(frame.type == 0xFFFFFF45, "not a shading modifier");
        in.Require(in.String() == name, "not the chain's name");
        in.Require(in.U32() == 1, "the place in the chain");
        in.Require((in.U32() & 1) == 1, "a shading modifier that isn't for meshes");
        for (std::uint32_t lists = in.U32(); lists > 0; --lists) {
            in.Require(in.U32() == 1, "a shader list that hasn't one shader");
            shaders.push_back(in.String());
        }
        in.End();
        return frame.next;
    }

    void ReadResource(std::uint32_t type, U3dBitReader& in) {
        if (type == 0xFFFFFF52) {
            U3dContent::ViewResource& resource = content_.viewResources.emplace_back();
            resource.name = NewName(in, viewResources_);
            in.Require(in.U32() == 1, "not one pass");
            resource.root = in.String();
            in.Require(in.U32() == 0 && in.U32() <= 2, "fog");
            Vec4 fogColor;
            float fogRange[2];
            ReadFloats(in, fogColor);
            ReadFloats(in, fogRange);
        } else if (type == 0xFFFFFF53) {
            U3dContent::Shader& shader = content_.shaders.emplace_back();
            shader.name = NewName(in, shaders_);
            shader.attributes = in.Below(in.U32(), 8, "shader attributes");
            in.Require(in.F32() == 0 && (in.U32() & ~7u) == 0x610, "alpha test");
            in.Require((in.U32() & ~3u) == 0x604, "blend function");
            in.Require(in.U32() == 1, "render passes");
            RequireZeros(in, 2, "shader channels");
            shader.material = in.String();
        } else {
            in.Require(type == 0xFFFFFF54, "unexpected block type " + std::to_string(type));
            U3dContent::Material& material = content_.materials.emplace_back();
            material.name = NewName(in, materials_);
            material.attributes = in.Below(in.U32(), 0x40, "material attributes");
            for (Vec3* c : {&material.ambient, &material.diffuse, &material.specular, &material.emissive}) {
                ReadFloats(in, *c);
            }
            material.reflectivity = in.F32();
            material.opacity = in.F32();
        }
    }

    void ReadContinuation(bool base, U3dBitReader& in) {
        const std::string name = in.String();
        const auto mesh =
            std::find_if(content_.meshes.begin(), content_.meshes.end(), [&](const Mesh& m) { return m.name == name; });
        in.Require(mesh != content_.meshes.end(), "the continuation of a mesh that isn't declared");
        RequireZeros(in, 1, "chain index");
        if (base) {
            ReadBaseMesh(in, *mesh);
            mesh->blocks.push_back({priority_, 0, mesh->minimum});
            return;
        }
        const std::uint32_t start = in.U32(), end = in.U32();
        in.Require(start == mesh->positions.size() && start >= mesh->minimum, "not where the mesh has come to");
        in.Require(start < end && end <= mesh->maximum, "end resolution");
        mesh->blocks.push_back({priority_, start, end});
        Updates updates(in, *mesh);
        for (std::uint32_t i = start; i < end; ++i) updates.AddPosition();
    }

    // What can be told at the end alone: that each name leads to something and each mesh has come in full.
    void CheckWhole(const U3dBitReader& in) {
        const auto known = [&](const std::set<std::string>& names, const std::string& name) {
            in.Require(names.count(name) != 0, "nothing has the name \"" + name + "\"");
        };
        for (const Mesh& mesh : content_.meshes) {
            const bool complete = mesh.positions.size() == mesh.positionCount && mesh.faces.size() == mesh.faceCount;
            in.Require(complete && mesh.colors.size() == mesh.colorCount, "\"" + mesh.name + "\" is not complete");
            in.Require(mesh.shaders.empty() || mesh.shaders.size() == mesh.colored.size(), "number of shader lists");
            for (const auto& name : mesh.shaders) known(shaders_, name);
        }
        nodes_.insert("");  // the world
        for (const auto& node : content_.nodes) {
            known(nodes_, node.parent);
            known(meshes_, node.resource);
            for (const auto& name : node.shaders) known(shaders_, name);
        }
        for (const auto& view : content_.views) {
            known(nodes_, view.parent);
            known(viewResources_, view.resource);
        }
        for (const auto& shader : content_.shaders) known(materials_, shader.material);
        for (const auto& resource : content_.viewResources) known(nodes_, resource.root);
    }

    const std::vector<unsigned char>& bytes_;
    U3dContent content_;
    std::uint32_t priority_ = 0;
    std::set<std::string> nodes_, meshes_, shaders_, materials_, viewResources_;
};

}  // namespace

U3dContent DecodeU3d(const std::vector<unsigned char>& bytes) { return Decoder(bytes).Decode(); }

}  // namespace tessera::test
