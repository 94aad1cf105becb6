// How fast a mesh goes to disk and comes back, beside plain writes and mapped reads of as many bytes. Not a test.
#include <sys/mman.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "geometry/trimesh.h"
#include "meshes.h"
#include "platform/spool_file.h"

namespace tessera::test {
namespace {

double Seconds(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

void Report(const char* what, double bytes, double seconds) {
    std::printf("%-28s %7.1f ms %8.0f MB/s\n", what, 1000 * seconds, bytes / 1e6 / seconds);
}

template <class T>
std::pair<const char*, std::size_t> Bytes(const T* items, std::size_t count) {
    return {reinterpret_cast<const char*>(items), count * sizeof(T)};
}

long Look(const char* data, std::size_t bytes) {
    long sum = 0;
    for (std::size_t i = 0; i < bytes; i += 64) sum += data[i];
    return sum;
}

void Run() {
    TriNormalTable normals;
    normals.BuildGrid();
    CTriMesh mesh(&normals);
    mesh.BeginBuild();
    Soup soup = Sphere(1000, 501).soup;
    for (std::size_t i = 0; i < soup.size(); i += 9) mesh.AddTriangle3P(&soup[i]);
    mesh.EndBuild();
    for (int round = 0; round < 3; ++round) {
        const auto file = SpoolFile::Create();
        mesh.BuildStrips();  // so that the copy of the round before counts no more
        auto start = std::chrono::steady_clock::now();
        mesh.SpoolOut(file);
        const double bytes = static_cast<double>(file->Offset());
        Report("SpoolOut", bytes, Seconds(start));
        start = std::chrono::steady_clock::now();
        mesh.Reload();
        long sum = 0;
        for (const auto& [data, size] : {Bytes(mesh.Vertices().data(), mesh.Vertices().size()),
                                         Bytes(mesh.Triangles().data(), mesh.Triangles().size()),
                                         Bytes(mesh.StripVertices().data(), mesh.StripVertices().size()),
                                         Bytes(mesh.Incident(0).first, 3 * mesh.Triangles().size())})
            sum += Look(data, size);
        Report("Reload, and all looked at", bytes, Seconds(start));

        std::vector<char> block(static_cast<std::size_t>(bytes), 'x');
        std::FILE* const plain = std::tmpfile();
        start = std::chrono::steady_clock::now();
        if (std::fwrite(block.data(), 1, block.size(), plain) != block.size() || std::fflush(plain) != 0) std::abort();
        Report("plain write", bytes, Seconds(start));
        start = std::chrono::steady_clock::now();
        auto* const mapped =
            static_cast<const char*>(mmap(nullptr, block.size(), PROT_READ, MAP_PRIVATE, fileno(plain), 0));
        sum += Look(mapped, block.size());
        Report("mapped read", bytes, Seconds(start));
        if (sum == 0) std::abort();
        munmap(const_cast<char*>(mapped), block.size());
        std::fclose(plain);
    }
    mesh.FlipAll();
    const auto file = SpoolFile::Create();
    mesh.SpoolOut(file);
    const auto start = std::chrono::steady_clock::now();
    mesh.Reload();
    Report("Reload, links found anew", static_cast<double>(file->Offset()), Seconds(start));
}

}  // namespace
}  // namespace tessera::test

int main() { tessera::test::Run(); }
