#pragma once

#include <cstddef>
#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <span>
#include <string>

#include "model.h"

namespace tessera::host {

// The form in which a model passes from the process that read it to the process that shows it: arrays one behind the
// other in a file without a name, and a description in JSON behind them that tells their places.

// Appends arrays to the open file `descriptor`. Throws Failure.
class ModelWriter {
public:
    explicit ModelWriter(int descriptor) : descriptor_(descriptor) {}

    // The place where the next array starts. Long arrays start on a page of their own, so that their memory can be
    // given back one by one.
    std::uint64_t Begin(std::uint64_t bytes);
    void Write(const void* data, std::size_t bytes);
    std::uint64_t Size() const { return size_; }

private:
    int descriptor_;
    std::uint64_t size_ = 0;
};

// The arrays of a model, mapped into this process. Writable; nothing reaches a disk.
class ModelMemory {
public:
    ModelMemory() = default;
    // Throws Failure.
    ModelMemory(int descriptor, std::uint64_t bytes);
    ~ModelMemory();
    ModelMemory(const ModelMemory&) = delete;
    ModelMemory& operator=(const ModelMemory&) = delete;
    ModelMemory(ModelMemory&& other) noexcept;
    ModelMemory& operator=(ModelMemory&& other) noexcept;

    // Throws Failure where `count` values at `place` do not lie inside.
    template <class T>
    T* At(std::uint64_t place, std::uint64_t count) const {
        return reinterpret_cast<T*>(Locate(place, count, sizeof(T)));
    }
    std::string_view Text(std::uint64_t place, std::uint64_t bytes) const { return {Locate(place, bytes, 1), bytes}; }
    // Gives the memory of an array back to the system.
    void Discard(const void* array, std::uint64_t bytes) const;

private:
    char* Locate(std::uint64_t place, std::uint64_t count, std::uint64_t size) const;

    char* base_ = nullptr;
    std::uint64_t bytes_ = 0;
};

// Turns the description into a model whose arrays lie in `memory`.
Model ModelFromJson(const nlohmann::json& description, const ModelMemory& memory);

}  // namespace tessera::host
