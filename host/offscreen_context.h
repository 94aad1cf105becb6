#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tessera::host {

// Rows from the bottom up, as OpenGL stores them; four bytes a pixel, red first, alpha always 255 after a readback.
struct Image {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgba;
};

// How the edges of what is drawn are made smooth.
enum class Smoothing {
    kNone,
    // Four samples a pixel, at the driver's expense: lines and points keep their width.
    kMultisample,
    // Drawn at twice the size and averaged: far cheaper in software, but lines and points come out half as wide.
    kSupersample,
};

// An OpenGL compatibility context with a framebuffer of its own, made through EGL. It needs neither a display nor a
// window system. The context is current in the thread that made the object, from the constructor to the destructor.
class OffscreenContext {
public:
    // `device` counts EGL's devices from 0; -1 takes a hardware device where one answers, else software rendering.
    // Throws Failure.
    explicit OffscreenContext(int device = -1);
    ~OffscreenContext();
    OffscreenContext(const OffscreenContext&) = delete;
    OffscreenContext& operator=(const OffscreenContext&) = delete;

    // Vendor, renderer and version of the OpenGL at work.
    std::string Describe() const;

    // Makes the framebuffer that is drawn to from here on and sets the viewport to it. Where the driver or memory does
    // not allow the smoothing that was asked for, a pixel has one sample. Throws Failure.
    void CreateFramebuffer(int width, int height, Smoothing smoothing);
    // The largest width and height that CreateFramebuffer can be asked for.
    int LargestSize() const;

    // Waits for the drawing and fetches the picture.
    Image Read();

private:
    bool OpenHardwareDevice();
    bool OpenDevice(int index, bool hardwareOnly);
    bool OpenDisplay(void* display);
    bool HasContextNeeded() const;
    void CloseDisplay();
    bool AllocateFramebuffer(int samples, unsigned& framebuffer, unsigned renderbuffers[2]) const;
    bool AllocateMultisampled();
    void DeleteFramebuffers();
    Image ReadDrawn() const;

    // EGL's handles, which are pointers.
    void* display_ = nullptr;
    void* context_ = nullptr;
    void* surface_ = nullptr;

    // Of the framebuffer, twice the picture's where it is supersampled.
    int width_ = 0;
    int height_ = 0;
    int samples_ = 0;
    bool doubled_ = false;
    unsigned drawFramebuffer_ = 0;
    unsigned drawBuffers_[2] = {0, 0};
    // One sample a pixel; only where drawFramebuffer_ has several.
    unsigned resolveFramebuffer_ = 0;
    unsigned resolveBuffers_[2] = {0, 0};
};

}  // namespace tessera::host
