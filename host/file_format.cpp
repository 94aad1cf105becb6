#include "file_format.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string_view>
#include <vector>

#include "failure.h"

namespace tessera::host {

namespace {

constexpr std::size_t kHeadBytes = 65536;
constexpr std::size_t kTailBytes = 1024;

struct FileEnds {
    std::string path;
    std::uint64_t size = 0;
    std::string head;
    std::string tail;
};

FileEnds ReadEnds(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) throw Failure(path, std::strerror(errno));
    if (S_ISDIR(status.st_mode)) throw Failure(path, "is a directory, not a model file");
    if (!S_ISREG(status.st_mode)) throw Failure(path, "is not a regular file");
    FileEnds ends{path, static_cast<std::uint64_t>(status.st_size), {}, {}};
    if (ends.size == 0) throw Failure(path, "the file is empty");
    std::ifstream file(path, std::ios::binary);
    if (!file) throw Failure(path, std::strerror(errno));
    ends.head.resize(static_cast<std::size_t>(std::min<std::uint64_t>(kHeadBytes, ends.size)));
    ends.tail.resize(static_cast<std::size_t>(std::min<std::uint64_t>(kTailBytes, ends.size)));
    file.read(ends.head.data(), static_cast<std::streamsize>(ends.head.size()));
    file.seekg(-static_cast<std::streamoff>(ends.tail.size()), std::ios::end);
    file.read(ends.tail.data(), static_cast<std::streamsize>(ends.tail.size()));
    if (!file) throw Failure(path, "cannot be read");
    return ends;
}

std::uint32_t Little32(const std::string& bytes, std::size_t at) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i) value |= std::uint32_t{static_cast<unsigned char>(bytes[at + i])} << (8 * i);
    return value;
}

bool StartsWith(std::string_view text, std::string_view start) { return text.substr(0, start.size()) == start; }

std::string_view SkipBlanks(std::string_view text) {
    const std::size_t at = text.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
    return at == std::string_view::npos ? std::string_view{} : text.substr(at);
}

bool IsOffMark(std::string_view head) {
    for (const char* mark : {"OFF", "COFF", "NOFF", "CNOFF", "STOFF", "STCNOFF"}) {
        const std::size_t length = std::strlen(mark);
        if (StartsWith(head, mark) && head.size() > length && std::isspace(static_cast<unsigned char>(head[length]))) {
            return true;
        }
    }
    return false;
}

// Wavefront files have no mark; their lines begin with short keywords.
bool LooksLikeObj(const std::string& head) {
    if (head.find('\0') != std::string::npos) return false;
    std::istringstream lines(head);
    std::string line;
    bool vertex = false;
    while (std::getline(lines, line)) {
        vertex = vertex || StartsWith(line, "v ");
        if (vertex && StartsWith(line, "f ")) return true;
    }
    return vertex && head.size() == kHeadBytes;
}

bool IsBinaryStl(const FileEnds& file) {
    return file.size >= 84 && file.size == 84 + std::uint64_t{50} * Little32(file.head, 80);
}

std::string LowerExtension(const std::string& path) {
    const std::size_t dot = path.find_last_of("./");
    if (dot == std::string::npos || path[dot] == '/') return {};
    std::string extension = path.substr(dot + 1);
    for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return extension;
}

FileFormat Recognise(const FileEnds& file) {
    const std::string_view text = SkipBlanks(file.head);
    const std::string extension = LowerExtension(file.path);
    if (IsBinaryStl(file)) return FileFormat::kStlBinary;
    if (StartsWith(file.head, "3DG0")) return FileFormat::kTdpm;
    if (StartsWith(file.head, std::string_view("U3D\0", 4))) return FileFormat::kU3d;
    if (StartsWith(file.head, "glTF")) return FileFormat::kGlb;
    if (StartsWith(file.head, "ply\n") || StartsWith(file.head, "ply\r")) return FileFormat::kPly;
    if (StartsWith(text, "solid") && file.head.find("facet") != std::string::npos) return FileFormat::kStlText;
    if (IsOffMark(text)) return FileFormat::kOff;
    if (StartsWith(file.head, "MM") && extension == "3ds") return FileFormat::k3ds;
    if (StartsWith(text, "<") && file.head.find("<COLLADA") != std::string::npos) return FileFormat::kCollada;
    if (StartsWith(text, "{") && file.head.find("\"asset\"") != std::string::npos) return FileFormat::kGltf;
    if (extension != "obj" && LooksLikeObj(file.head)) return FileFormat::kObj;
    if (extension == "stl") return StartsWith(text, "solid") ? FileFormat::kStlText : FileFormat::kStlBinary;
    if (extension == "obj") return FileFormat::kObj;
    if (extension == "ply") return FileFormat::kPly;
    if (extension == "off") return FileFormat::kOff;
    if (extension == "glb") return FileFormat::kGlb;
    if (extension == "gltf") return FileFormat::kGltf;
    if (extension == "3ds") return FileFormat::k3ds;
    if (extension == "dae") return FileFormat::kCollada;
    if (extension == "3dg") return FileFormat::kTdpm;
    throw Failure(file.path, "not a model file (known are 3DG, U3D, STL, OBJ, PLY, OFF, glTF, GLB, 3DS and DAE)");
}

[[noreturn]] void RefuseTruncated(const FileEnds& file, const std::string& why) {
    throw Failure(file.path, "truncated or damaged: " + why);
}

std::string DeclaredAndHeld(const std::string& declared, std::uint64_t needed, std::uint64_t held) {
    return "its header declares " + declared + ", at least " + std::to_string(needed) + " bytes, but " +
           std::to_string(held) + " follow";
}

// A count in a text header, capped so that sums of products stay exact.
std::uint64_t ReadCount(const FileEnds& file, const std::string& text) {
    const bool digits =
        !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
    if (!digits) throw Failure(file.path, "bad count in its header: \"" + text.substr(0, 20) + "\"");
    return text.size() > 12 ? 1'000'000'000'000 : std::stoull(text);
}

void CheckBinaryStl(const FileEnds& file) {
    if (file.head.find('\0') == std::string::npos) throw Failure(file.path, "neither a text nor a binary STL file");
    if (file.size < 84) RefuseTruncated(file, "shorter than the header of a binary STL file");
    const std::uint32_t count = Little32(file.head, 80);
    const std::uint64_t needed = std::uint64_t{50} * count;
    if (needed > file.size - 84) {
        RefuseTruncated(file, DeclaredAndHeld(std::to_string(count) + " triangles", needed, file.size - 84));
    }
    if (needed < file.size - 84) throw Failure(file.path, "neither a text nor a binary STL file");
}

void CheckTextStl(const FileEnds& file) {
    if (file.tail.find("endsolid") == std::string::npos) RefuseTruncated(file, "it does not end with \"endsolid\"");
}

std::uint64_t PlyTypeBytes(const std::string& type) {
    if (type == "char" || type == "uchar" || type == "int8" || type == "uint8") return 1;
    if (type == "short" || type == "ushort" || type == "int16" || type == "uint16") return 2;
    if (type == "double" || type == "float64") return 8;
    return 4;
}

// Text files give each element a line of its own. A reader that runs out of lines would repeat the last one.
void CheckLines(const FileEnds& file, std::uint64_t start, std::uint64_t needed) {
    std::ifstream stream(file.path, std::ios::binary);
    stream.seekg(static_cast<std::streamoff>(start));
    std::string line;
    std::uint64_t held = 0;
    while (held < needed && std::getline(stream, line)) held += SkipBlanks(line).empty() ? 0 : 1;
    if (held < needed) {
        RefuseTruncated(
            file, "its header declares " + std::to_string(needed) + " lines, but " + std::to_string(held) + " follow");
    }
}

void CheckPly(const FileEnds& file) {
    const std::size_t mark = file.head.find("end_header");
    if (mark == std::string::npos) RefuseTruncated(file, "its PLY header has no end");
    const std::uint64_t held = file.size - std::min<std::uint64_t>(file.size, mark + 11);
    std::istringstream lines(file.head.substr(0, mark));
    std::string line;
    bool text = false;
    std::uint64_t count = 0;
    std::uint64_t elements = 0;
    std::uint64_t needed = 0;
    std::string declared;
    while (std::getline(lines, line)) {
        std::istringstream words(line);
        std::string word;
        std::string name;
        std::string type;
        words >> word >> name;
        if (word == "format") text = name == "ascii";
        if (word == "element") {
            words >> type;
            count = ReadCount(file, type);
            elements += count;
            declared += (declared.empty() ? "" : ", ") + std::to_string(count) + " " + name.substr(0, 40);
        }
        if (word == "property") {
            if (name == "list") words >> name;
            needed += count * (text ? 2 : PlyTypeBytes(name));
        }
    }
    // The last value of a text file needs no blank behind it.
    if (needed > held + (text ? 1 : 0)) RefuseTruncated(file, DeclaredAndHeld(declared, needed, held));
    if (text) CheckLines(file, mark + 11, elements);
}

void CheckOff(const FileEnds& file) {
    std::istringstream lines(file.head);
    std::string line;
    std::vector<std::string> words;
    while (words.size() < 3 && std::getline(lines, line)) {
        std::istringstream parts(line.substr(0, line.find('#')));
        std::string word;
        while (parts >> word) {
            if (!IsOffMark(word + " ")) words.push_back(word);
        }
    }
    if (words.size() < 2) RefuseTruncated(file, "its OFF header has no counts");
    const std::uint64_t vertices = ReadCount(file, words[0]);
    const std::uint64_t faces = ReadCount(file, words[1]);
    const std::uint64_t needed = vertices * 6 + faces * 2;
    if (needed > file.size) {
        const std::string declared = std::to_string(vertices) + " vertices and " + std::to_string(faces) + " faces";
        RefuseTruncated(file, DeclaredAndHeld(declared, needed, file.size));
    }
    CheckLines(file, 0, vertices + faces + 2);
}

void CheckGlb(const FileEnds& file) {
    if (!StartsWith(file.head, "glTF")) throw Failure(file.path, "not a GLB file");
    if (file.size < 20) RefuseTruncated(file, "shorter than a GLB header");
    if (Little32(file.head, 8) > file.size || Little32(file.head, 12) > file.size - 20) {
        RefuseTruncated(file, DeclaredAndHeld("its own length", Little32(file.head, 8), file.size));
    }
}

void Check3ds(const FileEnds& file) {
    if (!StartsWith(file.head, "MM")) throw Failure(file.path, "not a 3DS file");
    if (file.size < 6) RefuseTruncated(file, "shorter than a 3DS header");
    if (Little32(file.head, 2) > file.size) {
        RefuseTruncated(file, DeclaredAndHeld("its own length", Little32(file.head, 2), file.size));
    }
}

}  // namespace

const char* FormatName(FileFormat format) {
    switch (format) {
        case FileFormat::kStlBinary: return "binary STL";
        case FileFormat::kStlText: return "text STL";
        case FileFormat::kObj: return "OBJ";
        case FileFormat::kPly: return "PLY";
        case FileFormat::kOff: return "OFF";
        case FileFormat::kGlb: return "binary glTF";
        case FileFormat::kGltf: return "glTF";
        case FileFormat::k3ds: return "3DS";
        case FileFormat::kCollada: return "COLLADA";
        case FileFormat::kTdpm: return "3DG";
        case FileFormat::kU3d: return "U3D";
    }
    return "";
}

const char* FormatExtension(FileFormat format) {
    switch (format) {
        case FileFormat::kStlBinary:
        case FileFormat::kStlText: return "stl";
        case FileFormat::kObj: return "obj";
        case FileFormat::kPly: return "ply";
        case FileFormat::kOff: return "off";
        case FileFormat::kGlb: return "glb";
        case FileFormat::kGltf: return "gltf";
        case FileFormat::k3ds: return "3ds";
        case FileFormat::kCollada: return "dae";
        case FileFormat::kTdpm: return "3dg";
        case FileFormat::kU3d: return "u3d";
    }
    return "";
}

FileFormat IdentifyFile(const std::string& path) {
    const FileEnds file = ReadEnds(path);
    const FileFormat format = Recognise(file);
    switch (format) {
        case FileFormat::kStlBinary: CheckBinaryStl(file); break;
        case FileFormat::kStlText: CheckTextStl(file); break;
        case FileFormat::kPly: CheckPly(file); break;
        case FileFormat::kOff: CheckOff(file); break;
        case FileFormat::kGlb: CheckGlb(file); break;
        case FileFormat::k3ds: Check3ds(file); break;
        case FileFormat::kObj:
        case FileFormat::kGltf:
        case FileFormat::kCollada:
        case FileFormat::kTdpm:
        case FileFormat::kU3d: break;
    }
    return format;
}

std::uint64_t FileSize(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

}  // namespace tessera::host
