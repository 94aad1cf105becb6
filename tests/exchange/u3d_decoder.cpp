#include "exchange/u3d_decoder.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <functional>
#include <iterator>
#include <set>
#include <stdexcept>

namespace tessera::test {

namespace {

using Mesh = U3dContent::Mesh;
using Face = U3dContent::Face;
using Vec3 = U3dContent::Vec3;
using Vec4 = U3dContent::Vec4;
using Set = std::set<std::uint32_t, std::greater<>>;  // every enumeration runs from the highest number down

bool IsUtf8(const std::string& text) {
    for (std::size_t i = 0; i < text.size();) {
        const unsigned lead = static_cast<unsigned char>(text[i++]);
        const int more = lead < 0x80 ? 0 : lead < 0xC2 ? -1 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : lead < 0xF5 ? 3 : -1;
        unsigned code = more == 0 ? lead : lead & (0x3Fu >> more);
        for (int k = 0; k < more; ++k, ++i) {
            if (i == text.size() || (text[i] & 0xC0) != 0x80) return false;
            code = code << 6 | (text[i] & 0x3F);
        }
        if (more < 0 || (more == 2 && (code < 0x800 || (code >= 0xD800 && code < 0xE000)))) return false;
        if (more == 3 && (code < 0x10000 || code > 0x10FFFF)) return false;
    }
    return true;
}

}  // namespace

U3dBitReader::U3dBitReader(const std::vector<unsigned char>& file, std::size_t begin, std::size_t end)
    : file_(file), begin_(begin), end_(std::min(end, file.size())), valueAt_(begin) {
    for (int i = 0; i < 16; ++i) value_ = value_ << 1 | NextBit();
}

void U3dBitReader::Require(bool holds, const std::string& otherwise) const {
    if (!holds) throw std::runtime_error("byte " + std::to_string(valueAt_) + ": " + otherwise);
}

std::uint32_t U3dBitReader::Below(std::uint32_t value, std::size_t limit, const std::string& what) const {
    Require(value < limit, what + " " + std::to_string(value) + ", not below " + std::to_string(limit));
    return value;
}

std::uint32_t U3dBitReader::NextBit() {
    const std::size_t byte = begin_ + next_ / 8, bit = next_ % 8;
    ++next_;
    return byte < end_ ? file_[byte] >> bit & 1u : 0u;
}

std::uint32_t U3dBitReader::Target(std::uint32_t total) const {
    return (total * (value_ - low_ + 1) - 1) / (high_ - low_ + 1);
}

void U3dBitReader::Narrow(std::uint32_t below, std::uint32_t frequency, std::uint32_t total) {
    const std::uint32_t range = high_ - low_ + 1;
    high_ = low_ + range * (below + frequency) / total - 1;
    low_ = low_ + range * below / total;
    for (; (low_ & 0x8000) == (high_ & 0x8000); ++shifts_, pending_ = 0) {
        low_ = low_ << 1 & 0xFFFF;
        high_ = (high_ << 1 & 0xFFFF) | 1;
        value_ = (value_ << 1 & 0xFFFF) | NextBit();
    }
    // `pending_` counts the bits that the writer holds back at this point, so Bits() is what it has emitted.
    for (; (low_ & 0x4000) != 0 && (high_ & 0x4000) == 0; ++shifts_, ++pending_) {
        low_ = low_ << 1 & 0x7FFF;
        high_ = (high_ << 1 & 0xFFFF) | 0x8001;
        value_ = (value_ & 0x8000) | (value_ << 1 & 0x7FFE) | NextBit();
    }
    Require(Bits() <= (end_ - begin_) * 8, "the block's data end too early");
}

std::uint32_t U3dBitReader::Plain(int bytes) {
    valueAt_ = Offset();
    std::uint32_t value = 0;
    for (int i = 0; i < bytes; ++i) {
        const std::uint32_t symbol = Target(256);
        Narrow(symbol, 1, 256);
        for (int bit = 0; bit < 8; ++bit) value |= (symbol >> (7 - bit) & 1u) << (8 * i + bit);
    }
    return value;
}

float U3dBitReader::F32() { return std::bit_cast<float>(U32()); }

std::string U3dBitReader::String() {
    std::string text(U16(), '\0');
    for (char& c : text) c = static_cast<char>(U8());
    Require(IsUtf8(text), "a string that is not UTF-8");
    return text;
}

void U3dBitReader::Counts::Raise(std::uint32_t symbol, std::uint32_t by) {
    count[symbol] = static_cast<std::uint16_t>(count[symbol] + by);
    total += by;
    for (std::uint32_t i = symbol; i < sums.size(); i |= i + 1) sums[i] = static_cast<std::uint16_t>(sums[i] + by);
}

void U3dBitReader::Counts::Learn(std::uint32_t symbol) {
    if (symbol > 0xFFFF) return;
    if (total >= 0x1FFF) {
        std::vector<std::uint16_t> old(count.size());
        old.swap(count);
        std::fill(sums.begin(), sums.end(), std::uint16_t{0});
        total = 0;
        for (std::uint32_t i = 0; i < old.size(); ++i) {
            if (old[i] > 1) Raise(i, old[i] / 2u);
        }
        Raise(0, 1);
    }
    Raise(symbol, 1);
}

// The symbol that holds `place` among the counts; `place` becomes the sum of the counts below it.
std::uint32_t U3dBitReader::Counts::Find(std::uint32_t& place) const {
    std::uint32_t symbol = 0, below = 0;
    for (std::uint32_t step = 0x8000; step != 0; step /= 2) {
        const std::uint32_t sum = below + sums[symbol + step - 1];
        if (sum <= place) {
            symbol += step;
            below = sum;
        }
    }
    place = below;
    return symbol;
}

std::uint32_t U3dBitReader::Compressed(std::uint32_t context, int bytes) {
    compressed_ = true;
    if (context == 0 || context >= 0x43FF) return Plain(bytes);
    valueAt_ = Offset();
    if (context > 0x400) {
        const std::uint32_t symbol = Target(context - 0x400);
        Narrow(symbol, 1, context - 0x400);
        return symbol;
    }
    Counts& counts = contexts_[context];
    if (counts.total == 0) counts.Raise(0, 1);
    std::uint32_t below = Target(counts.total);
    const std::uint32_t symbol = counts.Find(below);
    Narrow(below, counts.count[symbol], counts.total);
    counts.Learn(symbol);
    if (symbol != 0) return symbol - 1;
    const std::uint32_t value = Plain(bytes);
    Require(value != 0xFFFFFFFF, "a value that has no symbol");
    Require(value >= 0xFFFF || counts.count[value + 1] == 0, "an escape before a value that has a symbol");
    counts.Learn(value + 1);
    return value;
}

void U3dBitReader::End() {
    if (compressed_) Require(Plain(4) == 0, "the closing word is not 0");
    valueAt_ = Offset();
    Require((Bits() + 7) / 8 == end_ - begin_, "the block's data go on past their end");
    for (std::size_t bit = Bits(); bit % 8 != 0; ++bit) {
        Require((file_[begin_ + bit / 8] >> bit % 8 & 1) == 0, "the last byte is not filled with zero bits");
    }
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
    std::vector<Vec3> list;
    while (list.size() < count) {
        Vec3 farthest = around.empty() ? Vec3{} : around[0];
        float smallest = 1;
        for (const Vec3& g : around) {
            if (list.empty()) break;
            const float nearness = Dot(g, list[Nearest(list, g)]);
            if (nearness < smallest) {
                smallest = nearness;
                farthest = g;
            }
        }
        list.push_back(farthest);
    }
    std::vector<int> chosen(list.size());
    for (const Vec3& g : around) {
        if (list.empty()) break;
        const std::size_t k = Nearest(list, g);
        list[k] = Slerp(list[k], g, 1 / static_cast<float>(++chosen[k]));
    }
    return list;
}

int CornerAt(const Face& face, std::uint32_t position) {
    return static_cast<int>(std::find(face.positions.begin(), face.positions.end(), position) - face.positions.begin());
}

std::uint32_t Nth(const Set& set, std::uint32_t n) { return *std::next(set.begin(), n); }

// The updates of one progressive block: each adds one position and what goes with it.
class Updates {
public:
    Updates(U3dBitReader& in, Mesh& mesh) : in_(in), mesh_(mesh), around_(mesh.positions.size()) {
        for (std::uint32_t f = 0; f < mesh.faces.size(); ++f) Enter(f);
    }
    void AddPosition();

private:
    struct Move {
        std::uint32_t face;
        int corner;
        std::uint32_t color;
    };

    void Enter(std::uint32_t face) {
        for (const std::uint32_t p : mesh_.faces[face].positions) around_[p].insert(face);
    }
    Set ColorsAt(std::uint32_t position) const;
    Set NeighboursOf(std::uint32_t position) const;
    std::array<float, 4> ReadDifference(std::uint32_t signs, std::uint32_t context, std::uint32_t count, float quant);
    std::uint32_t ReadIndex(std::uint32_t context, std::size_t limit, const char* what) {
        return in_.Below(in_.Compressed32(context), limit, what);
    }
    void ReadColors();
    void ReadFaces();
    void ReadMoves();
    void ReadMovedColors();
    void ReadFaceColors(std::size_t index);
    void ReadPosition();
    void ReadNormals(std::uint32_t position);

    U3dBitReader& in_;
    Mesh& mesh_;
    std::vector<Set> around_;           // for each position the faces that have a corner there
    U3dContent::Corners lastColors_{};  // of the last new face: at the split position, the new one, the third
    std::uint32_t split_ = 0, added_ = 0, firstColor_ = 0;
    std::vector<Face> made_;
    std::vector<U3dContent::Corners> roles_;  // for each of these: the corner at the split position, the new one, third
    std::vector<Move> moves_;
};

Set Updates::ColorsAt(std::uint32_t position) const {
    Set colors;
    for (const std::uint32_t f : around_[position]) {
        const Face& face = mesh_.faces[f];
        if (mesh_.colored[face.shading]) colors.insert(face.colors[CornerAt(face, position)]);
    }
    return colors;
}

Set Updates::NeighboursOf(std::uint32_t position) const {
    Set neighbours;
    for (const std::uint32_t f : around_[position]) {
        neighbours.insert(mesh_.faces[f].positions.begin(), mesh_.faces[f].positions.end());
    }
    return neighbours;
}

std::array<float, 4> Updates::ReadDifference(std::uint32_t signs, std::uint32_t context, std::uint32_t count,
                                             float quant) {
    std::array<float, 4> difference{};
    for (std::uint32_t k = 0; k < count; ++k) {
        const float size = quant * static_cast<float>(in_.Compressed32(context + k));
        difference[k] = (signs >> k & 1) != 0 ? -size : size;
    }
    return difference;
}

void Updates::AddPosition() {
    added_ = static_cast<std::uint32_t>(mesh_.positions.size());
    around_.resize(added_ + 1);
    made_.clear();
    roles_.clear();
    moves_.clear();
    split_ = ReadIndex(0x400 + added_, std::max(added_, 1u), "split position");
    ReadColors();
    in_.Require(in_.Compressed16(101) == 0, "specular colours");
    in_.Require(in_.Compressed16(123) == 0, "texture coordinates");
    ReadFaces();
    ReadMoves();
    ReadMovedColors();
    for (std::size_t k = 0; k < made_.size(); ++k) ReadFaceColors(k);
    for (const Move& move : moves_) {
        Face& face = mesh_.faces[move.face];
        face.positions[move.corner] = added_;
        face.colors[move.corner] = move.color;
        around_[split_].erase(move.face);
        around_[added_].insert(move.face);
    }
    for (const Face& face : made_) {
        mesh_.faces.push_back(face);
        Enter(static_cast<std::uint32_t>(mesh_.faces.size() - 1));
    }
    ReadPosition();
    if (mesh_.normalsExcluded) return;
    for (const std::uint32_t p : NeighboursOf(added_)) ReadNormals(p);
}

void Updates::ReadColors() {
    firstColor_ = static_cast<std::uint32_t>(mesh_.colors.size());
    const std::uint32_t count = in_.Compressed16(99);
    Vec4 mean{};
    const Set around = ColorsAt(split_);
    for (const std::uint32_t c : around) {
        for (int k = 0; k < 4; ++k) mean[k] += mesh_.colors[c][k];
    }
    for (float& f : mean) f = around.empty() ? 0 : f / static_cast<float>(around.size());
    for (std::uint32_t n = 0; n < count; ++n) {
        const std::uint32_t signs = in_.Below(in_.Compressed8(100), 16, "signs");
        const auto bgra = ReadDifference(signs, 60, 4, mesh_.colorQuant);
        mesh_.colors.push_back({mean[0] + bgra[2], mean[1] + bgra[1], mean[2] + bgra[0], mean[3] + bgra[3]});
    }
}

void Updates::ReadFaces() {
    Set near = NeighboursOf(split_);
    near.erase(split_);
    for (std::uint32_t count = in_.Compressed32(1); count > 0; --count) {
        Face face;
        face.shading = ReadIndex(65, mesh_.colored.size(), "shading id");
        const std::uint32_t side = in_.Compressed8(2), kind = in_.Compressed8(3);
        in_.Require(side == 1 || side == 2, "a new face is neither left nor right");
        in_.Require(kind == 1 || kind == 2, "a third position is neither local nor global");
        const std::uint32_t third = kind == 1 ? Nth(near, ReadIndex(4, near.size(), "local position"))
                                              : ReadIndex(0x400 + added_, added_, "global position");
        in_.Require(third != split_, "a new face has one position twice");
        near.insert(third);
        face.positions =
            side == 1 ? U3dContent::Corners{split_, added_, third} : U3dContent::Corners{added_, split_, third};
        made_.push_back(face);
        roles_.push_back(side == 1 ? U3dContent::Corners{0, 1, 2} : U3dContent::Corners{1, 0, 2});
    }
}

void Updates::ReadMoves() {
    Set left, right, moved, stayed;
    for (const Face& face : made_) (face.positions[0] == split_ ? left : right).insert(face.positions[2]);
    for (const std::uint32_t f : around_[split_]) {
        const Face& face = mesh_.faces[f];
        const int corner = CornerAt(face, split_);
        const std::uint32_t a = face.positions[(corner + 1) % 3], b = face.positions[(corner + 2) % 3];
        const std::uint32_t guess = right.count(a) != 0                          ? 1
                                    : right.count(b) != 0 || left.count(a) != 0  ? 2
                                    : left.count(b) != 0                         ? 1
                                    : moved.count(a) != 0 || moved.count(b) != 0 ? 3
                                    : stayed.count(a) + stayed.count(b) != 0     ? 4
                                                                                 : 0;
        const bool moves = in_.Below(in_.Compressed8(15 + guess), 2, "stay or move") == 1;
        if (moves) moves_.push_back({f, corner, face.colors[corner]});
        (moves ? moved : stayed).insert({a, b});
    }
}

void Updates::ReadMovedColors() {
    const Set local = ColorsAt(split_);
    for (Move& move : moves_) {
        if (!mesh_.colored[mesh_.faces[move.face].shading]) continue;
        const std::uint32_t change = in_.Compressed8(104);
        in_.Require(change == 1 || change == 2, "a corner's colour is neither kept nor changed");
        if (change == 2) continue;
        const std::uint32_t kind = in_.Compressed8(105);
        in_.Require(kind >= 1 && kind <= 3, "unknown kind of colour index");
        if (kind == 1) move.color = firstColor_ + ReadIndex(106, mesh_.colors.size() - firstColor_, "new colour");
        if (kind == 2) move.color = Nth(local, ReadIndex(107, local.size(), "local colour"));
        if (kind == 3) move.color = ReadIndex(108, mesh_.colors.size(), "global colour");
    }
}

void Updates::ReadFaceColors(std::size_t index) {
    Face& face = made_[index];
    if (!mesh_.colored[face.shading]) return;
    const std::uint32_t kept = in_.Below(in_.Compressed8(56), 8, "flags of kept colours");
    for (int role = 0; role < 3; ++role) {
        std::uint32_t& color = lastColors_[role];
        if ((kept >> role & 1) == 0) {
            const std::uint32_t kind = in_.Compressed8(55);
            in_.Require(kind == 2 || kind == 3, "unknown kind of colour index");
            const Set local = ColorsAt(role == 2 ? face.positions[2] : split_);
            color = kind == 2 ? Nth(local, ReadIndex(119, local.size(), "local colour"))
                              : ReadIndex(120, mesh_.colors.size(), "global colour");
        }
        face.colors[roles_[index][role]] = in_.Below(color, mesh_.colors.size(), "kept colour");
    }
}

void Updates::ReadPosition() {
    const Vec3 from = added_ == 0 ? Vec3{} : mesh_.positions[split_];
    const std::uint32_t signs = in_.Below(in_.Compressed8(20), 8, "signs");
    const auto d = ReadDifference(signs, 21, 3, mesh_.positionQuant);
    mesh_.positions.push_back(from + Vec3{d[0], d[1], d[2]});
}

void Updates::ReadNormals(std::uint32_t position) {
    std::vector<Vec3> flat;
    for (const std::uint32_t f : around_[position]) {
        const auto& [a, b, c] = mesh_.faces[f].positions;
        Vec3 u = mesh_.positions[b] - mesh_.positions[a], v = mesh_.positions[c] - mesh_.positions[a];
        if (!Normalise(u) || !Normalise(v)) continue;
        Vec3 normal = Cross(u, v);
        if (Normalise(normal)) flat.push_back(normal);
    }
    const std::uint32_t count = ReadIndex(40, around_[position].size() + 1, "number of normals");
    const std::size_t first = mesh_.normals.size();
    for (const Vec3& v : PredictNormals(flat, count)) {
        const std::uint32_t signs = in_.Below(in_.Compressed8(41), 16, "signs");
        const auto d = ReadDifference(signs >> 1, 42, 3, mesh_.normalQuant);
        const Vec3 xyz{d[0], d[1], d[2]};
        const float w = std::sqrt(1 - std::min(1.0f, Dot(xyz, xyz)));
        mesh_.normals.push_back(((signs & 1) != 0 ? -w : w) * v + Cross(v, xyz));
    }
    for (const std::uint32_t f : around_[position]) {
        Face& face = mesh_.faces[f];
        face.normals[CornerAt(face, position)] = static_cast<std::uint32_t>(first + ReadIndex(45, count, "normal"));
    }
}

class Decoder {
public:
    explicit Decoder(const std::vector<unsigned char>& bytes) : bytes_(bytes) {}
    U3dContent Decode();

private:
    struct Frame {  // of a block: its type, its data and where the next one starts
        std::uint32_t type;
        std::size_t begin, end, next;
    };

    Frame ReadFrame(std::size_t at, std::size_t limit);
    void ReadBlock(const Frame& frame, U3dBitReader& in);
    void ReadChain(U3dBitReader& in, std::size_t end);
    void ReadNested(std::uint32_t type, std::uint32_t chain, std::uint32_t place, const std::string& name,
                    U3dBitReader& in);
    void ReadMesh(U3dBitReader& in, Mesh& mesh);
    void ReadView(U3dBitReader& in, U3dContent::View& view);
    void ReadShader(U3dBitReader& in);
    void ReadMaterial(U3dBitReader& in);
    void ReadViewResource(U3dBitReader& in);
    void ReadContinuation(std::uint32_t type, U3dBitReader& in);
    void ReadBaseMesh(U3dBitReader& in, Mesh& mesh);
    void CheckWhole(U3dBitReader& in);

    const std::vector<unsigned char>& bytes_;
    U3dContent content_;
    std::uint32_t priority_ = 0;
    std::set<std::string> nodes_, meshes_, shaders_, materials_, viewResources_;
};

template <std::size_t N>
void ReadFloats(U3dBitReader& in, std::array<float, N>& values) {
    for (float& f : values) f = in.F32();
}

std::string NewName(U3dBitReader& in, std::set<std::string>& names) {
    const std::string name = in.String();
    in.Require(names.insert(name).second, "a second \"" + name + "\"");
    return name;
}

void ReadParent(U3dBitReader& in, std::string& parent, U3dContent::Matrix& matrix) {
    in.Require(in.U32() == 1, "not exactly one parent");
    parent = in.String();
    ReadFloats(in, matrix);
    in.Require(matrix[3] == 0 && matrix[7] == 0 && matrix[11] == 0 && matrix[15] == 1, "fourth column of the matrix");
}

Decoder::Frame Decoder::ReadFrame(std::size_t at, std::size_t limit) {
    U3dBitReader in(bytes_, at, limit);
    Frame frame{in.U32(), at + 12, 0, 0};
    frame.end = frame.begin + in.U32();
    in.Require(in.U32() == 0, "metadata");
    frame.next = (frame.end + 3) / 4 * 4;
    in.Require(frame.next <= limit, "the block reaches past the end of what holds it");
    for (std::size_t i = frame.end; i < frame.next; ++i) in.Require(bytes_[i] == 0, "the padding is not zero");
    return frame;
}

U3dContent Decoder::Decode() {
    const Frame header = ReadFrame(0, bytes_.size());
    U3dBitReader in(bytes_, header.begin, header.end);
    in.Require(header.type == 0x00443355 && in.U32() == 0, "no header of version 0.0");
    in.Require(in.U32() == 0, "profile bits");
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
        // The priority before all declarations counts to them; the one behind them starts the continuations.
        if (!continuation && !(priority && declarations)) declarationEnd = at;
    }
    in.Require(declared == declarationEnd, "declaration size, should be " + std::to_string(declarationEnd));
    CheckWhole(in);
    return content_;
}

void Decoder::ReadBlock(const Frame& frame, U3dBitReader& in) {
    switch (frame.type) {
        case 0xFFFFFF14: return ReadChain(in, frame.end);
        case 0xFFFFFF15: {
            const std::uint32_t priority = in.U32();
            in.Require(priority >= priority_, "the priority decreases");
            priority_ = priority;
            break;
        }
        case 0xFFFFFF3B:
        case 0xFFFFFF3C: ReadContinuation(frame.type, in); break;
        case 0xFFFFFF52: ReadViewResource(in); break;
        case 0xFFFFFF53: ReadShader(in); break;
        case 0xFFFFFF54: ReadMaterial(in); break;
        default: in.Require(false, "unexpected block type " + std::to_string(frame.type));
    }
    in.End();
}

void Decoder::ReadChain(U3dBitReader& in, std::size_t end) {
    const std::string name = in.String();
    const std::uint32_t type = in.U32();
    in.Require(type <= 1, "chain type");
    in.Require(in.U32() == 0, "chain attributes");
    while (in.Offset() % 4 != 0) in.Require(in.U8() == 0, "the chain's padding is not zero");
    const std::uint32_t count = in.U32();
    in.Require(count >= 1, "an empty chain");
    std::size_t at = in.Offset();
    for (std::uint32_t place = 0; place < count; ++place) {
        const Frame frame = ReadFrame(at, end);
        U3dBitReader nested(bytes_, frame.begin, frame.end);
        ReadNested(frame.type, type, place, name, nested);
        nested.End();
        at = frame.next;
    }
    in.Require(at == end, "the chain's data go on behind its last block");
}

void Decoder::ReadNested(std::uint32_t type, std::uint32_t chain, std::uint32_t place, const std::string& name,
                         U3dBitReader& in) {
    const std::string own = place == 0 ? NewName(in, chain == 0 ? nodes_ : meshes_) : in.String();
    in.Require(own == name, "a block in a chain has another name");
    if (type == 0xFFFFFF22 && chain == 0 && place == 0) {
        U3dContent::Node& node = content_.nodes.emplace_back();
        node.name = name;
        ReadParent(in, node.parent, node.matrix);
        node.resource = in.String();
        node.visibility = in.Below(in.U32(), 4, "visibility");
    } else if (type == 0xFFFFFF24 && chain == 0 && place == 0) {
        content_.views.emplace_back().name = name;
        ReadView(in, content_.views.back());
    } else if (type == 0xFFFFFF31 && chain == 1 && place == 0) {
        content_.meshes.emplace_back().name = name;
        ReadMesh(in, content_.meshes.back());
    } else {
        in.Require(type == 0xFFFFFF45 && place == 1, "a block that doesn't belong into this place of a chain");
        in.Require(in.U32() == place, "the place in the chain");
        in.Require((in.U32() & 1) == 1, "a shading modifier that isn't for meshes");
        const bool ofNode = chain == 0 && !content_.nodes.empty() && content_.nodes.back().name == name;
        in.Require(chain == 1 || ofNode, "a shading modifier of a view");
        auto& shaders = ofNode ? content_.nodes.back().shaders : content_.meshes.back().shaders;
        for (std::uint32_t lists = in.U32(); lists > 0; --lists) {
            in.Require(in.U32() == 1, "a shader list that hasn't one shader");
            shaders.push_back(in.String());
        }
    }
}

void Decoder::ReadMesh(U3dBitReader& in, Mesh& mesh) {
    in.Require(in.U32() == 0, "chain index");
    mesh.normalsExcluded = in.Below(in.U32(), 2, "mesh attributes") == 1;
    mesh.faceCount = in.U32();
    mesh.positionCount = in.U32();
    mesh.normalCount = in.U32();
    mesh.colorCount = in.U32();
    in.Require(in.U32() == 0 && in.U32() == 0, "specular colours or texture coordinates");
    const std::uint32_t shadings = in.U32();
    in.Require(shadings > 0, "no shading description");
    for (std::uint32_t k = 0; k < shadings; ++k) {
        mesh.colored.push_back(in.Below(in.U32(), 2, "shading attributes") == 1);
        in.Require(in.U32() == 0, "texture layers");
        in.Require(in.U32() == k, "original shading id");
        in.Require(!mesh.colored.back() || mesh.colorCount > 0, "faces with colours in a mesh without");
    }
    mesh.minimum = in.U32();
    mesh.maximum = in.U32();
    in.Require(mesh.minimum <= mesh.maximum && mesh.maximum == mesh.positionCount, "resolution");
    for (std::uint32_t& quality : mesh.quality) quality = in.Below(in.U32(), 1001, "quality factor");
    std::array<float, 8> f{};  // the quants of position, normal, texture, diffuse, specular, then three parameters
    ReadFloats(in, f);
    in.Require(std::all_of(f.begin(), f.end(), [](float x) { return std::isfinite(x); }), "a number is not finite");
    mesh.positionQuant = f[0];
    mesh.normalQuant = f[1];
    mesh.colorQuant = f[3];
    mesh.crease = f[5];
    mesh.update = f[6];
    mesh.tolerance = f[7];
    in.Require(in.U32() == 0, "bones");
}

void Decoder::ReadView(U3dBitReader& in, U3dContent::View& view) {
    ReadParent(in, view.parent, view.matrix);
    view.resource = in.String();
    const std::uint32_t attributes = in.Below(in.U32(), 4, "attributes of a view");
    view.perspective = attributes < 2;
    view.nearClip = in.F32();
    view.farClip = in.F32();
    in.Require(view.nearClip > 0 && view.farClip > view.nearClip, "clip distances");
    view.projection = in.F32();
    ReadFloats(in, view.viewport);
    in.Require(view.viewport[0] > 0 && view.viewport[1] > 0, "viewport without size");
    in.Require(in.U32() == 0 && in.U32() == 0, "backdrops or overlays");
}

void Decoder::ReadShader(U3dBitReader& in) {
    U3dContent::Shader& shader = content_.shaders.emplace_back();
    shader.name = NewName(in, shaders_);
    shader.attributes = in.Below(in.U32(), 8, "shader attributes");
    in.Require(in.F32() == 0, "alpha test reference");
    in.Require((in.U32() & ~7u) == 0x610, "alpha test function");
    in.Require((in.U32() & ~3u) == 0x604, "blend function");
    in.Require(in.U32() == 1, "render passes");
    in.Require(in.U32() == 0 && in.U32() == 0, "shader channels");
    shader.material = in.String();
}

void Decoder::ReadMaterial(U3dBitReader& in) {
    U3dContent::Material& material = content_.materials.emplace_back();
    material.name = NewName(in, materials_);
    material.attributes = in.Below(in.U32(), 0x40, "material attributes");
    ReadFloats(in, material.ambient);
    ReadFloats(in, material.diffuse);
    ReadFloats(in, material.specular);
    ReadFloats(in, material.emissive);
    material.reflectivity = in.F32();
    material.opacity = in.F32();
}

void Decoder::ReadViewResource(U3dBitReader& in) {
    U3dContent::ViewResource& resource = content_.viewResources.emplace_back();
    resource.name = NewName(in, viewResources_);
    in.Require(in.U32() == 1, "not one pass");
    resource.root = in.String();
    in.Require(in.U32() == 0 && in.U32() <= 2, "fog");
    std::array<float, 6> fog{};  // colour, near, far
    ReadFloats(in, fog);
}

void Decoder::ReadContinuation(std::uint32_t type, U3dBitReader& in) {
    const std::string name = in.String();
    const auto mesh =
        std::find_if(content_.meshes.begin(), content_.meshes.end(), [&](const Mesh& m) { return m.name == name; });
    in.Require(mesh != content_.meshes.end(), "the continuation of a mesh that isn't declared");
    in.Require(in.U32() == 0, "chain index");
    if (type == 0xFFFFFF3B) return ReadBaseMesh(in, *mesh);
    const std::uint32_t start = in.U32(), end = in.U32();
    in.Require(start == mesh->positions.size() && start >= mesh->minimum, "doesn't start where the mesh has come to");
    in.Require(start < end && end <= mesh->maximum, "end resolution");
    mesh->blocks.push_back({priority_, start, end});
    Updates updates(in, *mesh);
    for (std::uint32_t i = start; i < end; ++i) updates.AddPosition();
}

void Decoder::ReadBaseMesh(U3dBitReader& in, Mesh& mesh) {
    in.Require(mesh.blocks.empty() && mesh.minimum > 0, "an unexpected base mesh");
    const bool whole = mesh.minimum == mesh.maximum;
    const std::uint32_t faces = in.U32(), positions = in.U32(), normals = in.U32(), colors = in.U32();
    in.Require(positions == mesh.minimum, "number of positions");
    in.Require(whole ? faces == mesh.faceCount && normals == mesh.normalCount && colors == mesh.colorCount
                     : faces <= mesh.faceCount && colors <= mesh.colorCount,
               "numbers other than declared");
    in.Require(!mesh.normalsExcluded || normals == 0, "normals in a mesh without");
    in.Require(in.U32() == 0 && in.U32() == 0, "specular colours or texture coordinates");
    for (std::uint32_t i = 0; i < positions; ++i) ReadFloats(in, mesh.positions.emplace_back());
    for (std::uint32_t i = 0; i < normals; ++i) ReadFloats(in, mesh.normals.emplace_back());
    for (std::uint32_t i = 0; i < colors; ++i) ReadFloats(in, mesh.colors.emplace_back());
    for (std::uint32_t i = 0; i < faces; ++i) {
        Face& face = mesh.faces.emplace_back();
        face.shading = in.Below(in.Compressed32(1), mesh.colored.size(), "shading id");
        for (int k = 0; k < 3; ++k) {
            face.positions[k] = in.Below(in.Compressed32(0x400 + positions), positions, "position index");
            if (!mesh.normalsExcluded) {
                face.normals[k] = in.Below(in.Compressed32(0x400 + normals), normals, "normal index");
            }
            if (mesh.colored[face.shading]) {
                face.colors[k] = in.Below(in.Compressed32(0x400 + colors), colors, "colour index");
            }
        }
        const auto& [a, b, c] = face.positions;
        in.Require(whole || (a != b && b != c && c != a), "a degenerate face below progressive blocks");
    }
    mesh.blocks.push_back({priority_, 0, positions});
}

// What can be told at the end alone: that each name leads to something and each mesh has come in full.
void Decoder::CheckWhole(U3dBitReader& in) {
    const auto known = [&](const std::set<std::string>& names, const std::string& name, bool allowEmpty) {
        in.Require((allowEmpty && name.empty()) || names.count(name) != 0, "nothing has the name \"" + name + "\"");
    };
    for (const auto& mesh : content_.meshes) {
        in.Require(mesh.positions.size() == mesh.positionCount && mesh.faces.size() == mesh.faceCount &&
                       mesh.colors.size() == mesh.colorCount,
                   "the mesh \"" + mesh.name + "\" is not complete");
        in.Require(mesh.shaders.empty() || mesh.shaders.size() == mesh.colored.size(), "number of shader lists");
        for (const auto& name : mesh.shaders) known(shaders_, name, false);
    }
    for (const auto& node : content_.nodes) {
        known(nodes_, node.parent, true);
        known(meshes_, node.resource, false);
        for (const auto& name : node.shaders) known(shaders_, name, false);
    }
    for (const auto& view : content_.views) {
        known(nodes_, view.parent, true);
        known(viewResources_, view.resource, false);
    }
    for (const auto& shader : content_.shaders) known(materials_, shader.material, false);
    for (const auto& resource : content_.viewResources) known(nodes_, resource.root, true);
}

}  // namespace

U3dContent DecodeU3d(const std::vector<unsigned char>& bytes) { return Decoder(bytes).Decode(); }

}  // namespace tessera::test
