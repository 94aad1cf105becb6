// An array of a mesh: on the heap, or where it stands in a piece of a spool file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <utility>
#include <vector>

#include "platform/large_pages.h"

namespace tessera {

// For items that can be copied as bytes. What stands elsewhere moves to the heap before it changes.
template <class T>
class MeshArray {
public:
    MeshArray() = default;
    MeshArray(const MeshArray&) = delete;
    MeshArray& operator=(const MeshArray&) = delete;

    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    const T* data() const { return items_; }
    const T* begin() const { return items_; }
    const T* end() const { return items_ + size_; }
    const T& operator[](std::size_t i) const { return items_[i]; }
    // The items, on the heap from then on.
    std::span<T> ToWrite() {
        MoveToHeap();
        return heap_;
    }

    void reserve(std::size_t count) {
        MoveToHeap();
        ReserveLarge(heap_, count);
        Show();
    }
    void resize(std::size_t count) {
        reserve(count);
        heap_.resize(count);
        Show();
    }
    void push_back(const T& item) {
        MoveToHeap();
        heap_.push_back(item);
        Show();
    }
    void shrink_to_fit() {
        std::vector<T> fitting;
        ReserveLarge(fitting, size_);
        fitting.assign(begin(), end());
        Take(std::move(fitting));
    }
    void Take(std::vector<T>&& items) {
        heap_ = std::move(items);
        Show();
    }
    // Leaves no memory behind.
    void Free() { Take({}); }

    // Stands from then on where a 32-bit count and as many items stand, which must stay until the array is given
    // others; moves next behind them.
    void StandAt(const std::byte*& next) {
        std::uint32_t count = 0;
        std::memcpy(&count, next, sizeof count);
        Free();
        items_ = reinterpret_cast<const T*>(next + sizeof count);
        size_ = count;
        next += sizeof count + sizeof(T) * size_;
    }

private:
    void MoveToHeap() {
        if (items_ == heap_.data()) return;
        ReserveLarge(heap_, size_);
        heap_.assign(begin(), end());
        Show();
    }
    void Show() {
        items_ = heap_.data();
        size_ = heap_.size();
    }

    std::vector<T> heap_;
    const T* items_ = nullptr;
    std::size_t size_ = 0;
};

}  // namespace tessera
