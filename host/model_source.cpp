#include "model_source.h"

#include <optional>

#include "file_format.h"
#include "tdpm_file.h"
#include "tdpm_loader.h"

namespace tessera::host {

namespace {

// Of a format that other people's libraries read.
class ImportSource final : public ModelSource {
public:
    ImportSource(const std::string& path, const ImportOptions& options) : import_(path, options) {}

    bool WaitFor(int milliseconds) override { return import_.WaitFor(milliseconds); }
    double Fraction() const override { return import_.Fraction(); }
    void Finish(Progress& progress) override {
        while (!import_.WaitFor(100)) progress.Show("reading " + import_.Path(), import_.Fraction());
        import_.Finish();
    }
    UpAxis Up() const override { return import_.Result().up; }
    void Include(Camera& camera) const override { IncludeModel(import_.Result(), camera); }
    LoadedModel AddTo(ITessera& scene, Progress& progress) override {
        progress.Show("building " + import_.Path(), -1);
        return ModelLoader(scene).Add(import_);
    }

private:
    ModelImport import_;
};

class TdpmSource final : public ModelSource {
public:
    explicit TdpmSource(std::string path) : path_(std::move(path)) {}

    bool WaitFor(int /*milliseconds*/) override { return true; }
    double Fraction() const override { return -1; }
    void Finish(Progress& progress) override {
        progress.Show("reading " + path_, -1);
        file_ = TdpmFile::Read(path_);
    }
    UpAxis Up() const override { return UprightOf(*file_); }
    void Include(Camera& camera) const override { IncludeTdpm(*file_, camera); }
    LoadedModel AddTo(ITessera& scene, Progress& progress) override {
        LoadedModel loaded = LoadTdpm(scene, *file_, &progress);
        file_.reset();
        return loaded;
    }

private:
    std::string path_;
    std::optional<TdpmFile> file_;
};

}  // namespace

std::unique_ptr<ModelSource> ModelSource::Open(const std::string& path, const ImportOptions& options) {
    if (IdentifyFile(path) == FileFormat::kTdpm) return std::make_unique<TdpmSource>(path);
    return std::make_unique<ImportSource>(path, options);
}

}  // namespace tessera::host
