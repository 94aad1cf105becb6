#include "offscreen_context.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#define GL_GLEXT_PROTOTYPES
#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

#include "failure.h"

namespace tessera::host {

namespace {

// Above this many pixels a framebuffer gets one sample each: at four samples it would need over a gigabyte.
constexpr std::int64_t kSmoothedPixels = 33'000'000;

bool HasExtension(const char* list, const char* name) {
    const std::size_t length = std::strlen(name);
    for (const char* at = list; at != nullptr && (at = std::strstr(at, name)) != nullptr; at += length) {
        const bool starts = at == list || at[-1] == ' ';
        if (starts && (at[length] == ' ' || at[length] == '\0')) return true;
    }
    return false;
}

const char* ClientExtensions() { return eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS); }

std::vector<EGLDeviceEXT> Devices() {
    std::vector<EGLDeviceEXT> devices;
    const auto query = reinterpret_cast<PFNEGLQUERYDEVICESEXTPROC>(eglGetProcAddress("eglQueryDevicesEXT"));
    const bool listed = HasExtension(ClientExtensions(), "EGL_EXT_device_base") ||
                        HasExtension(ClientExtensions(), "EGL_EXT_device_enumeration");
    EGLint count = 0;
    if (query == nullptr || !listed || !query(0, nullptr, &count) || count <= 0) return devices;
    devices.resize(static_cast<std::size_t>(count));
    if (!query(count, devices.data(), &count)) count = 0;
    devices.resize(static_cast<std::size_t>(count));
    return devices;
}

bool IsSoftware(EGLDeviceEXT device) {
    const auto query = reinterpret_cast<PFNEGLQUERYDEVICESTRINGEXTPROC>(eglGetProcAddress("eglQueryDeviceStringEXT"));
    return query == nullptr || HasExtension(query(device, EGL_EXTENSIONS), "EGL_MESA_device_software");
}

EGLDisplay PlatformDisplay(EGLenum platform, void* native) {
    const auto get = reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(eglGetProcAddress("eglGetPlatformDisplayEXT"));
    return get == nullptr ? EGL_NO_DISPLAY : get(platform, native, nullptr);
}

const char* GlString(GLenum name) {
    const auto* text = reinterpret_cast<const char*>(glGetString(name));
    return text == nullptr ? "" : text;
}

// Each pixel the mean of four.
Image Halved(const Image& large) {
    Image image{large.width / 2, large.height / 2, {}};
    image.rgba.resize(large.rgba.size() / 4);
    const std::size_t row = static_cast<std::size_t>(large.width) * 4;
    std::uint8_t* out = image.rgba.data();
    for (std::size_t y = 0; y < static_cast<std::size_t>(image.height); ++y) {
        const std::uint8_t* in = large.rgba.data() + 2 * y * row;
        for (int x = 0; x < image.width; ++x, in += 8)
            for (std::size_t i = 0; i < 4; ++i)
                *out++ = static_cast<std::uint8_t>((in[i] + in[i + 4] + in[row + i] + in[row + i + 4] + 2) / 4);
    }
    return image;
}

}  // namespace

OffscreenContext::OffscreenContext(int device) {
    if (device >= 0) {
        if (!OpenDevice(device, false)) {
            throw Failure("no OpenGL on EGL device " + std::to_string(device) + " of " +
                          std::to_string(Devices().size()));
        }
        return;
    }
    if (OpenHardwareDevice()) return;
    if (HasExtension(ClientExtensions(), "EGL_MESA_platform_surfaceless") &&
        OpenDisplay(PlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, nullptr))) {
        return;
    }
    const int count = static_cast<int>(Devices().size());
    for (int i = 0; i < count; ++i) {
        if (OpenDevice(i, false)) return;
    }
    throw Failure("no offscreen OpenGL: EGL offers no compatibility context with a stencil buffer");
}

OffscreenContext::~OffscreenContext() { CloseDisplay(); }

bool OffscreenContext::OpenHardwareDevice() {
    const int count = static_cast<int>(Devices().size());
    for (int i = 0; i < count; ++i) {
        if (OpenDevice(i, true)) return true;
    }
    return false;
}

bool OffscreenContext::OpenDevice(int index, bool hardwareOnly) {
    const std::vector<EGLDeviceEXT> devices = Devices();
    if (index >= static_cast<int>(devices.size())) return false;
    EGLDeviceEXT device = devices[static_cast<std::size_t>(index)];
    if (hardwareOnly && IsSoftware(device)) return false;
    return OpenDisplay(PlatformDisplay(EGL_PLATFORM_DEVICE_EXT, device));
}

bool OffscreenContext::OpenDisplay(void* display) {
    if (display == EGL_NO_DISPLAY || !eglInitialize(display, nullptr, nullptr)) return false;
    display_ = display;
    const char* extensions = eglQueryString(display, EGL_EXTENSIONS);
    const bool surfaceless = HasExtension(extensions, "EGL_KHR_surfaceless_context");
    EGLConfig config = EGL_NO_CONFIG_KHR;
    EGLint found = 1;
    if (!surfaceless || !HasExtension(extensions, "EGL_KHR_no_config_context")) {
        // Everything is named: left out, EGL prefers configurations without alpha, depth or stencil.
        const EGLint wanted[] = {EGL_SURFACE_TYPE,
                                 EGL_PBUFFER_BIT,
                                 EGL_RENDERABLE_TYPE,
                                 EGL_OPENGL_BIT,
                                 EGL_RED_SIZE,
                                 8,
                                 EGL_GREEN_SIZE,
                                 8,
                                 EGL_BLUE_SIZE,
                                 8,
                                 EGL_ALPHA_SIZE,
                                 8,
                                 EGL_DEPTH_SIZE,
                                 24,
                                 EGL_STENCIL_SIZE,
                                 8,
                                 EGL_NONE};
        if (!eglChooseConfig(display, wanted, &config, 1, &found)) found = 0;
    }
    // The binding is per thread; without it the context would be one of OpenGL ES.
    if (found > 0 && eglBindAPI(EGL_OPENGL_API)) context_ = eglCreateContext(display, config, EGL_NO_CONTEXT, nullptr);
    if (context_ != nullptr && !surfaceless) {
        const EGLint size[] = {EGL_WIDTH, 16, EGL_HEIGHT, 16, EGL_NONE};
        surface_ = eglCreatePbufferSurface(display, config, size);
    }
    if (context_ != nullptr && eglMakeCurrent(display, surface_, surface_, context_) && HasContextNeeded()) return true;
    CloseDisplay();
    return false;
}

bool OffscreenContext::HasContextNeeded() const {
    int major = 0;
    int minor = 0;
    if (std::sscanf(GlString(GL_VERSION), "%d.%d", &major, &minor) != 2 || major < 3) return false;
    if (major == 3 && minor < 2) return true;
    GLint profile = 0;
    glGetIntegerv(GL_CONTEXT_PROFILE_MASK, &profile);
    return (profile & GL_CONTEXT_COMPATIBILITY_PROFILE_BIT) != 0;
}

void OffscreenContext::CloseDisplay() {
    if (display_ == nullptr) return;
    if (context_ != nullptr) {
        DeleteFramebuffers();
        eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        eglDestroyContext(display_, context_);
    }
    if (surface_ != nullptr) eglDestroySurface(display_, surface_);
    eglTerminate(display_);
    display_ = context_ = surface_ = nullptr;
}

std::string OffscreenContext::Describe() const {
    return std::string(GlString(GL_VENDOR)) + ", " + GlString(GL_RENDERER) + ", OpenGL " + GlString(GL_VERSION);
}

int OffscreenContext::LargestSize() const {
    GLint renderbuffer = 0;
    GLint viewport[2] = {0, 0};
    glGetIntegerv(GL_MAX_RENDERBUFFER_SIZE, &renderbuffer);
    glGetIntegerv(GL_MAX_VIEWPORT_DIMS, viewport);
    return std::min({renderbuffer, viewport[0], viewport[1]});
}

bool OffscreenContext::AllocateFramebuffer(int samples, unsigned& framebuffer, unsigned renderbuffers[2]) const {
    while (glGetError() != GL_NO_ERROR) {
    }
    glGenFramebuffers(1, &framebuffer);
    glGenRenderbuffers(2, renderbuffers);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    const GLenum formats[] = {GL_RGBA8, GL_DEPTH24_STENCIL8};
    const GLenum attachments[] = {GL_COLOR_ATTACHMENT0, GL_DEPTH_STENCIL_ATTACHMENT};
    for (int i = 0; i < 2; ++i) {
        glBindRenderbuffer(GL_RENDERBUFFER, renderbuffers[i]);
        glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples, formats[i], width_, height_);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, attachments[i], GL_RENDERBUFFER, renderbuffers[i]);
    }
    return glGetError() == GL_NO_ERROR && glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
}

void OffscreenContext::DeleteFramebuffers() {
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glDeleteFramebuffers(1, &drawFramebuffer_);
    glDeleteFramebuffers(1, &resolveFramebuffer_);
    glDeleteRenderbuffers(2, drawBuffers_);
    glDeleteRenderbuffers(2, resolveBuffers_);
    drawFramebuffer_ = resolveFramebuffer_ = 0;
    drawBuffers_[0] = drawBuffers_[1] = resolveBuffers_[0] = resolveBuffers_[1] = 0;
}

void OffscreenContext::CreateFramebuffer(int width, int height, Smoothing smoothing) {
    if (width < 1 || height < 1 || width > LargestSize() || height > LargestSize()) {
        throw Failure("no framebuffer of " + std::to_string(width) + "x" + std::to_string(height) +
                      ": each side must lie between 1 and " + std::to_string(LargestSize()));
    }
    DeleteFramebuffers();
    const bool fits = std::int64_t{width} * height <= kSmoothedPixels;
    doubled_ = smoothing == Smoothing::kSupersample && fits && 2 * std::max(width, height) <= LargestSize();
    width_ = doubled_ ? 2 * width : width;
    height_ = doubled_ ? 2 * height : height;
    samples_ = smoothing == Smoothing::kMultisample && fits && AllocateMultisampled() ? 4 : 1;
    if (samples_ == 1 && !AllocateFramebuffer(0, drawFramebuffer_, drawBuffers_)) {
        throw Failure("the driver has no memory for a framebuffer of " + std::to_string(width) + "x" +
                      std::to_string(height));
    }
    glBindFramebuffer(GL_FRAMEBUFFER, drawFramebuffer_);
    glViewport(0, 0, width_, height_);
}

bool OffscreenContext::AllocateMultisampled() {
    GLint most = 0;
    glGetIntegerv(GL_MAX_SAMPLES, &most);
    if (most >= 4 && AllocateFramebuffer(4, drawFramebuffer_, drawBuffers_) &&
        AllocateFramebuffer(0, resolveFramebuffer_, resolveBuffers_)) {
        return true;
    }
    DeleteFramebuffers();
    return false;
}

Image OffscreenContext::ReadDrawn() const {
    Image image{width_, height_, {}};
    image.rgba.resize(static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_) * 4);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, width_, height_, GL_RGBA, GL_UNSIGNED_BYTE, image.rgba.data());
    // Blending leaves less than full opacity behind.
    for (std::size_t i = 3; i < image.rgba.size(); i += 4) image.rgba[i] = 255;
    return image;
}

Image OffscreenContext::Read() {
    if (samples_ > 1) {
        glBindFramebuffer(GL_READ_FRAMEBUFFER, drawFramebuffer_);
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, resolveFramebuffer_);
        glBlitFramebuffer(0, 0, width_, height_, 0, 0, width_, height_, GL_COLOR_BUFFER_BIT, GL_NEAREST);
        glBindFramebuffer(GL_FRAMEBUFFER, resolveFramebuffer_);
    }
    const Image drawn = ReadDrawn();
    glBindFramebuffer(GL_FRAMEBUFFER, drawFramebuffer_);
    return doubled_ ? Halved(drawn) : drawn;
}

}  // namespace tessera::host
