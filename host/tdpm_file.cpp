#include "tdpm_file.h"

#include <bit>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "failure.h"

namespace tessera::host {

namespace {

static_assert(std::endian::native == std::endian::little);

enum Tag : unsigned {
    kPart = 1,
    kEndOfPartRecord = 2,
    kMesh = 3,
    kEndOfFile = 6,
    kPolyLine = 7,
    kPointSet = 8,
    kAssembly = 9,
    kEndOfAssembly = 10,
    kInstance = 11,
    kEndOfInstance = 12,
    kEndOfTree = 13,
    kEndOfRecords = 15,
    kLevel = 16,
    kEndOfElements = 17,
    kBlock = 18,
    kEndOfLevel = 19,
};

constexpr std::string_view kMark = "3DG";
constexpr unsigned kVersion = 719;
constexpr std::size_t kHeadBytes = 10;
constexpr std::size_t kPointBytes = 12, kCodedPointBytes = 13, kTriangleBytes = 24, kColorBytes = 12;
// The engine walks trees by recursion, and its paths of names grow with the depth.
constexpr std::size_t kDeepestTree = 1000;

}  // namespace

// A place in the bytes. Whatever is taken has been looked for first.
class TdpmFile::Cursor {
public:
    Cursor(const std::string& name, const std::vector<unsigned char>& bytes) : name_(name), bytes_(bytes) {}

    std::size_t At() const { return at_; }
    [[noreturn]] void Fail(std::size_t at, const std::string& why) const {
        throw Failure(name_, "damaged at byte " + std::to_string(at) + ": " + why);
    }
    // Steps over `count` items of `size` bytes and gives the place of the first.
    std::size_t Skip(std::uint64_t count, std::size_t size, const char* what) {
        const std::uint64_t left = bytes_.size() - at_;
        if (count > left / size) {
            std::string why = std::to_string(count) + " " + what + " of " + std::to_string(size) + " bytes, but ";
            Fail(at_, why.append(std::to_string(left)).append(" bytes are left"));
        }
        const std::size_t place = at_;
        at_ += static_cast<std::size_t>(count) * size;
        return place;
    }
    template <class T>
    T Take(const char* what) {
        T value;
        std::memcpy(&value, bytes_.data() + Skip(1, sizeof value, what), sizeof value);
        return value;
    }
    unsigned TakeTag() { return Take<std::uint8_t>("tag"); }
    void Expect(unsigned tag, const char* what) {
        const std::size_t place = at_;
        const unsigned found = TakeTag();
        if (found != tag) Fail(place, "tag " + std::to_string(found) + " where " + what + " should be");
    }
    std::string TakeText() {
        const auto length = Take<std::uint32_t>("length of a text");
        const std::size_t place = Skip(length, 1, "characters");
        return {reinterpret_cast<const char*>(bytes_.data()) + place, length};
    }
    bool IsAtEnd() const { return at_ == bytes_.size(); }

private:
    const std::string& name_;
    const std::vector<unsigned char>& bytes_;
    std::size_t at_ = 0;
};

TdpmFile TdpmFile::Read(const std::string& path) {
    std::error_code error;
    if (std::filesystem::exists(path, error) && !std::filesystem::is_regular_file(path, error)) {
        throw Failure(path, "is not a regular file");
    }
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    if (!file) throw Failure(path, std::strerror(errno));
    const std::streamoff size = file.tellg();
    std::vector<unsigned char> bytes(static_cast<std::size_t>(std::max<std::streamoff>(size, 0)));
    file.seekg(0);
    if (size < 0 || !file.read(reinterpret_cast<char*>(bytes.data()), size)) throw Failure(path, "cannot be read");
    return {path, std::move(bytes)};
}

TdpmFile::TdpmFile(std::string name, std::vector<unsigned char> bytes)
    : name_(std::move(name)), bytes_(std::move(bytes)) {
    Cursor in(name_, bytes_);
    ReadHead(in);
    ReadTree(in);
    normalCount_ = in.Take<std::uint32_t>("number of normals");
    normalsAt_ = in.Skip(normalCount_, kPointBytes, "normals") - sizeof(std::uint32_t);
    ReadParts(in);
    if (!in.IsAtEnd()) in.Fail(in.At(), "more bytes behind the end of the file's records");
    FindParts();
}

void TdpmFile::ReadHead(Cursor& in) {
    if (bytes_.size() < kHeadBytes || std::memcmp(bytes_.data(), kMark.data(), kMark.size()) != 0) {
        in.Fail(0, "not a 3DG file");
    }
    const std::string digits(reinterpret_cast<const char*>(At(kMark.size())), 5);
    in.Skip(8, 1, "bytes of the head");
    const auto version = in.Take<std::uint16_t>("version");
    if (version != kVersion || digits != "00719") {
        throw Failure(name_, "3DG version " + digits + "; only version 719 can be read");
    }
}

void TdpmFile::ReadTree(Cursor& in) {
    std::vector<int> open;
    for (;;) {
        const std::size_t at = in.At();
        const unsigned tag = in.TakeTag();
        if (tag == kEndOfTree && open.empty()) return;
        if (tag == kEndOfAssembly && !open.empty()) {
            open.pop_back();
        } else if (tag == kAssembly || tag == kInstance) {
            ReadNode(in, at, open.empty() ? -1 : open.back());
            if (tag == kInstance) {
                partIds_.back() = in.Take<std::uint32_t>("a part's id");
                nodes_.back().part = 0;
                in.Expect(kEndOfInstance, "the end of an instance");
            } else {
                open.push_back(static_cast<int>(nodes_.size()) - 1);
                if (open.size() > kDeepestTree) in.Fail(at, "assemblies are nested too deeply");
            }
        } else {
            in.Fail(at, "tag " + std::to_string(tag) + " in the tree");
        }
    }
}

void TdpmFile::ReadNode(Cursor& in, std::size_t at, int parent) {
    TdpmNode node;
    node.at = at;
    node.parent = parent;
    node.name = in.TakeText();
    node.userName = in.TakeText();
    node.properties = in.TakeText();
    node.mirrored = in.Take<std::uint32_t>("mirror flag");
    node.transform = in.Take<Placement>("matrix");
    in.Skip(1, sizeof node.transform, "second matrix");
    nodes_.push_back(std::move(node));
    partIds_.push_back(0);
}

void TdpmFile::ReadParts(Cursor& in) {
    for (;;) {
        const std::size_t at = in.At();
        const unsigned tag = in.TakeTag();
        if (tag == kEndOfFile) return;
        if (tag != kPart) in.Fail(at, "tag " + std::to_string(tag) + " where a part should begin");
        ReadPart(in);
    }
}

void TdpmFile::ReadPart(Cursor& in) {
    TdpmPart part;
    part.id = in.Take<std::uint32_t>("a part's id");
    part.name = in.TakeText();
    for (auto* color : {&part.externalColor, &part.internalColor, &part.borderColor, &part.edgeColor}) {
        *color = in.Take<std::array<float, 3>>("colour");
    }
    part.alpha = in.Take<float>("opacity");
    part.sectionPlaneOn = in.Take<std::uint32_t>("flag");
    part.cappingEnabled = in.Take<std::uint32_t>("flag");
    part.elementsAt = in.At();
    CheckElements(in, part);
    part.elementsEnd = in.At();
    in.Expect(kEndOfPartRecord, "the end of a part");
    parts_.push_back(std::move(part));
}

void TdpmFile::CheckElements(Cursor& in, TdpmPart& part) const {
    bool levels = false;
    for (;;) {
        const std::size_t at = in.At();
        const unsigned tag = in.TakeTag();
        if (tag == kEndOfElements) return;
        // The engine takes nothing but levels behind the first level.
        if (tag == kLevel) {
            CheckLevels(in);
            levels = true;
        } else if (tag == kMesh && !levels) {
            CheckMesh(in, part);
        } else if ((tag == kPolyLine || tag == kPointSet) && !levels) {
            in.Skip(1, kColorBytes, "colour");
            CheckPoints(in, part, tag == kPolyLine ? kCodedPointBytes : kPointBytes);
        } else {
            in.Fail(at, "tag " + std::to_string(tag) + " in a part");
        }
    }
}

void TdpmFile::CheckPoints(Cursor& in, TdpmPart& part, std::size_t stride) const {
    const auto count = in.Take<std::uint32_t>("number of points");
    TdpmPoints points{in.Skip(count, stride, "points"), count, stride};
    for (std::size_t i = 0; i < count; ++i) {
        float p[3];
        std::memcpy(p, At(points.at + i * stride), sizeof p);
        // No sum over numbers that are finite alone is anything but zero or a finite number.
        if (!std::isfinite(p[0] * 0 + p[1] * 0 + p[2] * 0)) in.Fail(points.at + i * stride, "not a point");
    }
    part.points.push_back(points);
}

void TdpmFile::CheckMesh(Cursor& in, TdpmPart& part) const {
    in.Skip(2, kColorBytes, "colours");
    CheckPoints(in, part, kPointBytes);
    while (in.TakeTag() != kEndOfRecords) {
        in.Skip(2, 4, "words of a reduced mesh");
        in.Skip(in.Take<std::uint32_t>("number of triangles"), kTriangleBytes, "triangles");
    }
    const auto count = in.Take<std::uint32_t>("number of triangles");
    const std::size_t first = in.Skip(count, kTriangleBytes, "triangles");
    const auto vertices = static_cast<std::uint32_t>(part.points.back().count);
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t index[6];
        std::memcpy(index, At(first + i * kTriangleBytes), sizeof index);
        for (std::size_t k = 0; k < 6; ++k) {
            const std::uint32_t limit = k < 3 ? normalCount_ : vertices;
            if (index[k] < limit) continue;
            std::string why = k < 3 ? "normal " : "vertex ";
            why.append(std::to_string(index[k])).append(" of ").append(std::to_string(limit));
            in.Fail(first + i * kTriangleBytes + 4 * k, why);
        }
    }
    ++part.meshes;
    part.triangles += count;
    part.vertices += vertices;
}

void TdpmFile::CheckLevels(Cursor& in) const {
    for (;;) {
        const std::size_t at = in.At();
        const unsigned tag = in.TakeTag();
        if (tag == kEndOfLevel) return;
        if (tag != kBlock) in.Fail(at, "tag " + std::to_string(tag) + " in a level of detail");
        in.Skip(4, sizeof(float), "numbers of a colour");
        in.Skip(1, 1, "flag");
        const auto floats = in.Take<std::uint32_t>("number of coordinates");
        in.Skip(floats, sizeof(float), "coordinates");
        const auto words = in.Take<std::uint32_t>("number of strips");
        const std::size_t strips = in.Skip(words, sizeof(std::int32_t), "strips");
        std::uint64_t used = 0;
        for (std::size_t i = 0; i < words; ++i) {
            std::int32_t length = 0;
            std::memcpy(&length, At(strips + 4 * i), sizeof length);
            if (length <= 0) break;
            used += 6 * static_cast<std::uint64_t>(length);
            if (used > floats) in.Fail(strips + 4 * i, "a strip is longer than its vertices");
        }
    }
}

void TdpmFile::FindParts() {
    std::unordered_map<std::uint32_t, int> byId;
    for (std::size_t i = 0; i < parts_.size(); ++i) {
        if (byId.emplace(parts_[i].id, static_cast<int>(i)).second) continue;
        throw Failure(name_, "damaged: two parts have the id " + std::to_string(parts_[i].id));
    }
    for (std::size_t i = 0; i < nodes_.size(); ++i) {
        if (nodes_[i].part < 0) continue;
        const auto part = byId.find(partIds_[i]);
        if (part == byId.end()) {
            std::string why = "damaged at byte " + std::to_string(nodes_[i].at) + ": an instance of part ";
            throw Failure(name_, why.append(std::to_string(partIds_[i])).append(", which the file does not hold"));
        }
        nodes_[i].part = part->second;
    }
}

}  // namespace tessera::host
