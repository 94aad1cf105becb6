#include "u3d_file.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <set>
#include <span>

#include "u3d_bit_reader.h"
#include "u3d_updates.h"

namespace tessera::host {

namespace {

using Mesh = U3dContent::Mesh;
using Face = U3dContent::Face;
using Vec3 = U3dContent::Vec3;
using Vec4 = U3dContent::Vec4;

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
    Decoder(const std::vector<unsigned char>& bytes, bool exact) : bytes_(bytes), exact_(exact) {}

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
        // A widespread writer counts the header alone.
        in.Require(declared == declarationEnd || (!exact_ && declared == header.next),
                   "declaration size, should be " + std::to_string(declarationEnd));
        CheckWhole(in);
        return content_;
    }

private:
    Frame ReadFrame(std::size_t at, std::size_t limit) {
        U3dBitReader in(bytes_, at, limit);
        Frame frame{in.U32(), at + 12, 0, 0};
        frame.end = frame.begin + in.U32();
        const std::size_t padded = (frame.end + 3) / 4 * 4, metadata = in.U32();
        in.Require(metadata == 0 || !exact_, "metadata");
        frame.next = padded + (metadata + 3) / 4 * 4;
        in.Require(frame.next <= limit, "the block reaches past the end of what holds it");
        for (std::size_t i = frame.end; i < padded; ++i) in.Require(bytes_[i] == 0, "the padding is not zero");
        return frame;
    }

    void ReadBlock(const Frame& frame, U3dBitReader& in) {
        if (frame.type == 0xFFFFFF14) return ReadChain(in, frame.end);
        const bool resource = frame.type >= 0xFFFFFF52 && frame.type <= 0xFFFFFF54;
        const bool known = resource || frame.type == 0xFFFFFF15 || frame.type == 0xFFFFFF3B || frame.type == 0xFFFFFF3C;
        if (!known && !exact_) return;
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
        std::string name = in.String();
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
        } else if ((first.type == 0xFFFFFF21 || first.type == 0xFFFFFF23) && !ofMesh && !exact_) {
            // A group, or a light, which shows nothing itself.
            U3dContent::Node& node = content_.nodes.emplace_back();
            node.name = name;
            ReadParent(subject, node.parent, node.matrix);
            return;
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
        ReadUpdates(in, end - start, *mesh);
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
            if (!node.resource.empty() || exact_) known(meshes_, node.resource);
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
    const bool exact_;
    U3dContent content_;
    std::uint32_t priority_ = 0;
    std::set<std::string> nodes_, meshes_, shaders_, materials_, viewResources_;
};

}  // namespace

U3dContent DecodeU3d(const std::vector<unsigned char>& bytes, bool exact) { return Decoder(bytes, exact).Decode(); }

}  // namespace tessera::host
