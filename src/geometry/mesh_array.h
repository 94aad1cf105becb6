// An array of a mesh: on the heap, or where it stands in a piece of a spool file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

namespace tessera {

// For items that can be copied as bytes. What stands elsewhere moves to the heap before its size changes.
template <class T>
class MeshArray {
public:
    MeshArray() = default;
    MeshArray(const MeshArray&) = delete;
    MeshArray& operator=(const MeshArray&) = delete;

    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    T* data() { return items_; }
    const T* data() const { return items_; }
    T* begin() { return items_; }
    T* end() { return items_ + size_; }
    const T* begin() const { return items_; }
    const T* end() const { return items_ + size_; }
    T& operator[](std::size_t i) { return items_[i]; }
    const T& operator[](std::size_t i) const { return items_[i]; }

    void reserve(std::size_t count) {
        MoveToHeap();
        heap_.reserve(count);
        Show();
    }
    void resize(std::size_t count) {
        MoveToHeap();
        heap_.resize(count);
        Show();
    }
    void push_back(const T& item) {
        MoveToHeap();
        heap_.push_back(item);
        Show();
    }
    void shrink_to_fit() {
        MoveToHeap();
        heap_.shrink_to_fit();
        Show();
    }
    void Take(std::vector<T>&& items) {
        heap_ = std::move(items);
        Show();
    }
    // Leaves no memory behind.
    void Free() { Take({}); }

    // Stands from then on where a 32-bit count and as many items stand, which must stay until the array is given
    // others; moves next behind them.
    void StandAt(std::byte*& next) {
        std::uint32_t count = 0;
        std::memcpy(&count, next, sizeof count);
        Free();
        items_ = reinterpret_cast<T*>(next + sizeof count);
        size_ = count;
        next += sizeof count + sizeof(T) * size_;
    }

private:
    void MoveToHeap() {
        if (items_ != heap_.data()) heap_.assign(begin(), end());
    }
    void Show() {
        items_ = heap_.data();
        size_ = heap_.size();
    }

    std::vector<T> heap_;
    T* items_ = nullptr;
    std::size_t size_ = 0;
};

}  // namespace tessera
