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

    // Makes the framebuffer that is drawn to from here on and sets the viewport to it. With `antialias` it has four
    // samples a pixel where the driver has them and memory allows, else one. Throws Failure.
    void CreateFramebuffer(int width, int height, bool antialias);
    int SamplesPerPixel() const { return samples_; }
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
    void DeleteFramebuffers();

    // EGL's handles, which are pointers.
    void* display_ = nullptr;
    void* context_ = nullptr;
    void* surface_ = nullptr;

    int width_ = 0;
    int height_ = 0;
    int samples_ = 0;
    unsigned drawFramebuffer_ = 0;
    unsigned drawBuffers_[2] = {0, 0};
    // One sample a pixel; only where drawFramebuffer_ has several.
    unsigned resolveFramebuffer_ = 0;
    unsigned resolveBuffers_[2] = {0, 0};
};

}  // namespace tessera::host
