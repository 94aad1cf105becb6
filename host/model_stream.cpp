#include "model_stream.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <nlohmann/json.hpp>
#include <utility>

#include "failure.h"

namespace tessera::host {

namespace {

constexpr std::uint64_t kPage = 4096;
constexpr std::uint64_t kLongArray = 16 * kPage;

}  // namespace

std::uint64_t ModelWriter::Begin(std::uint64_t bytes) {
    const std::uint64_t step = bytes >= kLongArray ? kPage : 8;
    const std::uint64_t place = (size_ + step - 1) / step * step;
    if (::lseek(descriptor_, static_cast<off_t>(place), SEEK_SET) < 0) throw Failure(std::strerror(errno));
    size_ = place;
    return place;
}

void ModelWriter::Write(const void* data, std::size_t bytes) {
    const char* at = static_cast<const char*>(data);
    while (bytes > 0) {
        const ssize_t written = ::write(descriptor_, at, bytes);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) throw Failure("no memory for the model");
        at += written;
        bytes -= static_cast<std::size_t>(written);
        size_ += static_cast<std::uint64_t>(written);
    }
}

ModelMemory::ModelMemory(int descriptor, std::uint64_t bytes) : bytes_(bytes) {
    void* base = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    if (base == MAP_FAILED) throw Failure("no memory for the model");
    base_ = static_cast<char*>(base);
}

ModelMemory::~ModelMemory() {
    if (base_ != nullptr) ::munmap(base_, bytes_);
}

ModelMemory::ModelMemory(ModelMemory&& other) noexcept
    : base_(std::exchange(other.base_, nullptr)), bytes_(std::exchange(other.bytes_, 0)) {}

ModelMemory& ModelMemory::operator=(ModelMemory&& other) noexcept {
    std::swap(base_, other.base_);
    std::swap(bytes_, other.bytes_);
    return *this;
}

char* ModelMemory::Locate(std::uint64_t place, std::uint64_t count, std::uint64_t size) const {
    if (place > bytes_ || place % size != 0 || count > (bytes_ - place) / size) throw Failure("its reader went astray");
    return base_ + place;
}

void ModelMemory::Discard(const void* array, std::uint64_t bytes) const {
    const auto start = static_cast<std::uint64_t>(static_cast<const char*>(array) - base_);
    const std::uint64_t first = (start + kPage - 1) / kPage * kPage;
    const std::uint64_t last = (start + bytes) / kPage * kPage;
    if (first < last) ::madvise(base_ + first, last - first, MADV_REMOVE);
}

Model ModelFromJson(const nlohmann::json& description, const ModelMemory& memory) {
    Model model;
    model.format = description.at("format");
    model.up = description.at("yUp").get<bool>() ? UpAxis::kY : UpAxis::kZ;
    model.lines = description.at("lines");
    model.points = description.at("points");
    for (const auto& part : description.at("parts")) {
        ModelPart& made = model.parts.emplace_back();
        made.name = part.at("name");
        made.opacity = part.at("opacity");
        made.distinctPoints = part.at("distinctPoints");
        for (const auto& mesh : part.at("meshes")) {
            ModelMesh& m = made.meshes.emplace_back();
            m.vertices = mesh.at("vertices");
            m.triangles = mesh.at("triangles");
            m.color = mesh.at("color");
            m.points = memory.At<double>(mesh.at("pointsAt"), m.vertices * 3);
            m.corners = memory.At<std::uint32_t>(mesh.at("cornersAt"), m.triangles * 3);
            if (mesh.contains("normalsAt")) m.normals = memory.At<double>(mesh.at("normalsAt"), m.vertices * 3);
            made.triangles += m.triangles;
        }
    }
    for (const auto& node : description.at("nodes")) {
        ModelNode& made = model.nodes.emplace_back();
        made.name = node.at("name");
        made.parent = node.at("parent");
        made.part = node.at("part");
        made.transform = node.at("transform");
        made.mirrored = node.at("mirrored");
    }
    return model;
}

}  // namespace tessera::host
