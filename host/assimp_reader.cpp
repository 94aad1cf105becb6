#include "assimp_reader.h"

#include <assimp/DefaultIOSystem.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <assimp/DefaultLogger.hpp>
#include <assimp/Importer.hpp>
#include <assimp/LogStream.hpp>
#include <assimp/ProgressHandler.hpp>
#include <new>
#include <nlohmann/json.hpp>
#include <utility>

#include "failure.h"
#include "scene_flattener.h"

namespace tessera::host {

namespace {

// Readers are chosen by file name. This shows the file under a second name that ends as its content asks for.
class AliasFileSystem : public Assimp::DefaultIOSystem {
public:
    AliasFileSystem(std::string alias, std::string path) : alias_(std::move(alias)), path_(std::move(path)) {}
    bool Exists(const char* file) const override { return file == alias_ || Assimp::DefaultIOSystem::Exists(file); }
    Assimp::IOStream* Open(const char* file, const char* mode) override {
        return Assimp::DefaultIOSystem::Open(file == alias_ ? path_.c_str() : file, mode);
    }

private:
    std::string alias_;
    std::string path_;
};

class FractionKeeper : public Assimp::ProgressHandler {
public:
    explicit FractionKeeper(std::atomic<float>& fraction) : fraction_(fraction) {}
    bool Update(float fraction) override {
        fraction_ = fraction;
        return true;
    }

private:
    std::atomic<float>& fraction_;
};

// Readers pass over what they cannot use, say so in the log and deliver the rest. What is kept here is the first line
// that tells of damage.
class DamageKeeper : public Assimp::LogStream {
public:
    explicit DamageKeeper(std::string& damage) : damage_(damage) {}
    void write(const char* line) override {
        const std::string text(line);
        // Much else that is logged as an error does no harm.
        bool damage = false;
        for (const char* sign : {"out of range", "out-of-range", "is incorrect"}) {
            damage = damage || text.find(sign) != std::string::npos;
        }
        const std::size_t colon = text.find(": ");
        if (damage && damage_.empty()) damage_ = text.substr(colon == std::string::npos ? 0 : colon + 2);
    }

private:
    std::string& damage_;
};

std::string Title(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    const std::size_t dot = name.rfind('.');
    if (dot != std::string::npos && dot > 0) name.resize(dot);
    return name;
}

// One line of at most a screen's width of what the importer says.
std::string Reason(const std::string& error) {
    if (error.rfind("No suitable reader", 0) == 0) return "its content is of no such form";
    if (error.find("bad_alloc") != std::string::npos) throw std::bad_alloc();
    std::string text;
    for (const char c : error.substr(0, 160)) {
        const bool blank = static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
        if (!blank || (!text.empty() && text.back() != ' ')) text += blank ? ' ' : c;
    }
    while (!text.empty() && (text.back() == ' ' || text.back() == '.')) text.pop_back();
    return text.empty() ? "no reason given" : text;
}

}  // namespace

nlohmann::json ReadWithAssimp(const std::string& path, FileFormat format, bool countPoints, ModelWriter& writer,
                              std::atomic<float>& fraction) {
    const std::string alias = path + ".tessera." + FormatExtension(format);
    std::string damage;
    Assimp::DefaultLogger::create("", Assimp::Logger::NORMAL, 0);
    Assimp::DefaultLogger::get()->attachStream(new DamageKeeper(damage), Assimp::Logger::Err | Assimp::Logger::Warn);
    // Never destroyed: the process ends when the model is written, and taking a scene apart takes time.
    auto* importer = new Assimp::Importer;
    importer->SetIOHandler(new AliasFileSystem(alias, path));
    importer->SetProgressHandler(new FractionKeeper(fraction));
    const aiScene* scene = importer->ReadFile(alias, 0);
    if (scene == nullptr || scene->mRootNode == nullptr) {
        throw Failure("not readable as " + std::string(FormatName(format)) + ": " + Reason(importer->GetErrorString()));
    }
    if (!damage.empty()) throw Failure("damaged: " + Reason(damage));
    bool polygons = false;
    for (unsigned m = 0; m < scene->mNumMeshes; ++m) {
        polygons = polygons || (scene->mMeshes[m]->mPrimitiveTypes & aiPrimitiveType_POLYGON) != 0;
    }
    if (polygons) scene = importer->ApplyPostProcessing(aiProcess_Triangulate);
    if (scene == nullptr) throw Failure("its polygons cannot be cut into triangles");
    return SceneFlattener(*scene, format, Title(path), countPoints, writer).Run();
}

}  // namespace tessera::host
