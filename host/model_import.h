#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "model.h"
#include "model_stream.h"

namespace tessera::host {

struct ImportOptions {
    // Fills ModelPart::distinctPoints.
    bool countPoints = false;
};

struct ReaderTask;

// A model file that is being read in a process of its own, with bounded memory and time: a hostile file can cost that
// process, never this one. Reading begins with the constructor and runs beside the caller.
class ModelImport {
public:
    // Throws Failure for what a look at the file already shows.
    explicit ModelImport(std::string path, ImportOptions options = {});
    // Ends an unfinished reader.
    ~ModelImport();
    ModelImport(const ModelImport&) = delete;
    ModelImport& operator=(const ModelImport&) = delete;

    const std::string& Path() const { return path_; }
    // True once the reader has ended; waits for that at most so long.
    bool WaitFor(int milliseconds);
    // The fraction read, or below 0 where the reader does not tell.
    double Fraction() const;
    // Waits for the end and hands over what was read. Throws Failure.
    void Finish();

    // After Finish:
    const Model& Result() const { return model_; }
    // Gives back the memory of a mesh that is no longer needed.
    void Discard(const ModelMesh& mesh);

private:
    struct Shared;

    void Start(ReaderTask task);
    void Close();
    std::string ReasonOfEnd(int status) const;

    std::string path_;
    ModelMemory memory_;
    Model model_;
    Shared* shared_ = nullptr;  // a page that both processes see
    int arrays_ = -1;           // file without a name that the reader writes to
    int ended_ = -1;            // pipe that closes when the reader ends
    int reader_ = 0;            // process id
};

}  // namespace tessera::host
