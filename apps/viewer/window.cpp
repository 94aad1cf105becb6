#include "window.h"

#include <GL/gl.h>
#include <GLFW/glfw3.h>
#include <imgui.h>
#include <imgui_impl_glfw.h>
#include <imgui_impl_opengl2.h>

#include <cctype>
#include <memory>

#include "failure.h"
#include "theme.h"

namespace tessera::viewer {

namespace {

Viewer& ViewerOf(GLFWwindow* window) { return *static_cast<Viewer*>(glfwGetWindowUserPointer(window)); }

void OnDrop(GLFWwindow* window, int count, const char** paths) {
    for (int i = 0; i < count; ++i) ViewerOf(window).Model().Open(paths[i]);
}

// Keys go by what is written on them, wherever that is.
void OnKey(GLFWwindow* window, int key, int code, int action, int modifiers) {
    if (action != GLFW_PRESS || ImGui::GetIO().WantTextInput) return;
    if (key == GLFW_KEY_Q && (modifiers & GLFW_MOD_CONTROL) != 0) glfwSetWindowShouldClose(window, 1);
    if ((modifiers & (GLFW_MOD_CONTROL | GLFW_MOD_ALT)) != 0) return;
    const bool shift = (modifiers & GLFW_MOD_SHIFT) != 0;
    if (key == GLFW_KEY_ESCAPE) ViewerOf(window).Key(27, shift);
    const char* name = glfwGetKeyName(key, code);
    if (name == nullptr || name[0] == '\0' || name[1] != '\0') return;
    const bool asks = shift && (name[0] == '/' || name[0] == '?' || name[0] == '\'');
    ViewerOf(window).Key(asks ? '?' : std::toupper(static_cast<unsigned char>(name[0])), shift);
}

// GLFW's library and one window with ImGui in it.
class Window {
public:
    explicit Window(const WindowOptions& options) {
        if (glfwInit() == 0) throw host::Failure("no display to show a window on");
        glfwWindowHint(GLFW_STENCIL_BITS, 8);
        glfwWindowHint(GLFW_SAMPLES, 4);
        window_ = glfwCreateWindow(options.width, options.height, "Tessera", nullptr, nullptr);
        if (window_ == nullptr) {
            glfwTerminate();
            throw host::Failure("the display has no OpenGL for a window");
        }
        glfwMakeContextCurrent(window_);
        glfwSwapInterval(1);
        ImGui::CreateContext();
        ImGui::GetIO().IniFilename = nullptr;
        float scale = 1;
        glfwGetWindowContentScale(window_, &scale, nullptr);
        ApplyTheme(scale);
    }
    ~Window() {
        ImGui_ImplOpenGL2_Shutdown();
        ImGui_ImplGlfw_Shutdown();
        ImGui::DestroyContext();
        glfwDestroyWindow(window_);
        glfwTerminate();
    }
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    void Show(Viewer& viewer) {
        glfwSetWindowUserPointer(window_, &viewer);
        // ImGui's own handlers call those that were there before.
        glfwSetDropCallback(window_, OnDrop);
        glfwSetKeyCallback(window_, OnKey);
        ImGui_ImplGlfw_InitForOpenGL(window_, true);
        ImGui_ImplOpenGL2_Init();
        int idle = 0;
        while (glfwWindowShouldClose(window_) == 0 && !viewer.WantsToQuit()) {
            ImGui_ImplOpenGL2_NewFrame();
            ImGui_ImplGlfw_NewFrame();
            ImGui::NewFrame();
            int width = 0, height = 0, pixelWidth = 0, pixelHeight = 0;
            glfwGetWindowSize(window_, &width, &height);
            glfwGetFramebufferSize(window_, &pixelWidth, &pixelHeight);
            glViewport(0, 0, pixelWidth, pixelHeight);
            glClear(GL_COLOR_BUFFER_BIT);
            const bool busy = viewer.Frame(width, height);
            ImGui::Render();
            ImGui_ImplOpenGL2_RenderDrawData(ImGui::GetDrawData());
            glfwSwapBuffers(window_);
            // Panels take a few frames to settle after an input; then nothing is drawn until the next.
            idle = busy ? 0 : idle + 1;
            if (idle < 3) {
                glfwPollEvents();
            } else {
                // A cursor in a text field blinks.
                ImGui::GetIO().WantTextInput ? glfwWaitEventsTimeout(0.25) : glfwWaitEvents();
                idle = 0;
            }
        }
    }

private:
    GLFWwindow* window_ = nullptr;
};

}  // namespace

void RunWindow(const WindowOptions& options) {
    Window window(options);
    const auto viewer = std::make_unique<Viewer>();
    for (const std::string& model : options.models) viewer->Model().Open(model);
    window.Show(*viewer);
}

}  // namespace tessera::viewer
