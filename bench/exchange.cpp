#include "exchange.h"

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>

#include "component.h"
#include "tdpm_loader.h"

namespace {

namespace fs = std::filesystem;
using tessera::BSTR;

const std::string kFile = "tessera.out";

// A name that the engine takes.
class Name {
public:
    explicit Name(const std::string& text) : text_(tessera::SysAllocString(fs::path(text).u16string().c_str())) {}
    ~Name() { tessera::SysFreeString(text_); }
    Name(const Name&) = delete;
    Name& operator=(const Name&) = delete;
    BSTR Get() const { return text_; }

private:
    BSTR text_;
};

void Rows(const bench::Job& job, const std::string& name, const std::vector<double>& times, const std::string& note) {
    const double bytes = static_cast<double>(fs::file_size(kFile));
    std::vector<double> rates;
    for (const double t : times) rates.push_back(bytes / 1e3 / t);
    const std::string size = std::to_string(static_cast<long>(bytes / 1e6)) + " MB" + (note.empty() ? "" : "; " + note);
    job.row(name, "ms", times, size);
    job.row(name, "MB/s", rates, size);
}

// The same bytes in one call.
void PlainWrite(const bench::Job& job) {
    std::string bytes(fs::file_size(kFile), '\0');
    std::FILE* file = std::fopen(kFile.c_str(), "rb");
    if (std::fread(bytes.data(), 1, bytes.size(), file) != bytes.size()) std::abort();
    std::fclose(file);
    Rows(job, "plain fwrite",
         bench::sample(job.reps,
                       [&] {
                           fs::remove(kFile);
                           file = std::fopen(kFile.c_str(), "wb");
                           if (std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size()) std::abort();
                           std::fclose(file);
                       }),
         "");
}

// One closed loop of so many cuts, around the z axis.
std::vector<float> Ring(std::size_t cuts) {
    std::vector<float> soup;
    const auto put = [&](std::size_t i, float z) {
        const double a = 2 * workload::kPi * static_cast<double>(i) / static_cast<double>(cuts / 2);
        soup.insert(soup.end(), {static_cast<float>(1000 * std::cos(a)), static_cast<float>(1000 * std::sin(a)), z});
    };
    for (std::size_t i = 0; i < cuts / 2; ++i) {
        put(i, -1), put(i + 1, -1), put(i + 1, 1);
        put(i, -1), put(i + 1, 1), put(i, 1);
    }
    return soup;
}

void SaveSection(const bench::Job& job, std::size_t cuts) {
    Component scene;
    auto soup = Ring(cuts);
    const int part = scene.Part();
    int error = 0;
    AddOneByOne(scene, part, soup);
    scene->EndTriMesh(part, &error);
    float point[3] = {0, 0, 0.1F}, normal[3] = {0, 0, 1};
    scene->SwitchCrossSectionPlane(0, 1, &error);
    scene->SetCrossSectionPlane(0, point, normal, &error);
    Rows(job, "section of " + std::to_string(cuts),
         bench::sample(job.reps, [&] { scene->SaveCrossSection(Name(kFile).Get(), &error); }),
         "chained, written as XML");
}

}  // namespace

void Write(const bench::Job& job) {
    int error = 0;
    {
        Component scene;
        const int part = scene.Part();
        auto soup = workload::soup(job.kind, job.n);
        AddOneByOne(scene, part, soup);
        std::vector<float>().swap(soup);
        scene->EndTriMesh(part, &error);
        const double before = bench::resident_bytes();
        Rows(job, "VRML 2 text", bench::sample(job.reps, [&] { scene->WriteVRML_2(Name(kFile).Get()); }), "");
        Rows(job, "VRML 1 text", bench::sample(job.reps, [&] { scene->WriteVRML(Name(kFile).Get()); }), "");
        job.row("memory beside the model", "MB", {(bench::resident_bytes() - before) / 1e6}, "VRML");
        for (const bool compress : {false, true}) {
            const tessera::VARIANT_BOOL on = compress ? tessera::VARIANT_TRUE : tessera::VARIANT_FALSE;
            Rows(job, compress ? "U3D, compressed" : "U3D",
                 bench::sample(job.reps, [&] { scene->ExportU3D(Name(kFile).Get(), nullptr, 0, on); }), "");
        }
        // To a new name, as the plain write: taking the place of another file costs some file systems a flush.
        Rows(job, "WriteTDPM",
             bench::sample(job.reps,
                           [&] {
                               fs::remove(kFile);
                               scene->WriteTDPM(Name(kFile).Get(), &error);
                           }),
             "");
    }
    PlainWrite(job);
    job.row("3DG back, checked", "ms",
            bench::sample(job.reps,
                          [&] {
                              Component scene;
                              tessera::host::LoadTdpm(*scene.operator->(), tessera::host::TdpmFile::Read(kFile));
                          }),
            "read, checked, imported");
    for (const std::size_t cuts : {10000, 100000, 1000000}) SaveSection(job, cuts);
    fs::remove(kFile);
}
