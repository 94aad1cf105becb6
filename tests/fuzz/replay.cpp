// Runs a reader on all files of a folder, on each cut short at every byte, and on each with every byte changed: what a
// fuzzer starts from, for builds without one. READER FOLDER
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

// Longer files are cut and changed at some thousand places alike.
constexpr std::size_t kMostPlaces = 3000;

std::size_t Replay(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> read{std::istreambuf_iterator<char>(file), {}};
    std::vector<std::uint8_t> bytes(read.begin(), read.end());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    std::size_t runs = 1;
    for (std::size_t i = 0; i < bytes.size(); i += 1 + bytes.size() / kMostPlaces, runs += 3) {
        const std::vector<std::uint8_t> cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(i));
        LLVMFuzzerTestOneInput(cut.data(), cut.size());
        for (const int change : {1, 255}) {
            bytes[i] = static_cast<std::uint8_t>(bytes[i] ^ change);
            LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
            bytes[i] = static_cast<std::uint8_t>(bytes[i] ^ change);
        }
    }
    return runs;
}

}  // namespace

int main(int argc, char** argv) {
    std::size_t runs = 0;
    if (argc == 2)
        for (const auto& entry : std::filesystem::directory_iterator(argv[1])) runs += Replay(entry.path());
    std::printf("%zu runs\n", runs);
    return runs > 0 ? 0 : 1;
}
