#include "rehearsal.h"

#include <GL/gl.h>
#include <imgui.h>
#include <imgui_impl_opengl2.h>

#include <cctype>
#include <memory>
#include <sstream>

#include "failure.h"
#include "offscreen_context.h"
#include "png_file.h"
#include "theme.h"

namespace tessera::viewer {

namespace {

// The window that isn't there: frames follow each other as fast as they come, with a clock of their own.
class Stage {
public:
    explicit Stage(const WindowOptions& options) : options_(options) {
        context_.CreateFramebuffer(options.width, options.height, host::Smoothing::kMultisample);
        ImGui::CreateContext();
        ImGuiIO& io = ImGui::GetIO();
        io.IniFilename = nullptr;
        io.DisplaySize = {static_cast<float>(options.width), static_cast<float>(options.height)};
        io.DeltaTime = 1.0F / 60;
        io.MousePos = {-1, -1};
        for (const int key : {ImGuiKey_Enter, ImGuiKey_Escape}) io.KeyMap[key] = 256 + key;
        ApplyTheme(1);
        ImGui_ImplOpenGL2_Init();
        viewer_ = std::make_unique<Viewer>();
        for (const std::string& model : options.models) viewer_->Model().Open(model);
    }
    ~Stage() {
        viewer_.reset();
        ImGui_ImplOpenGL2_Shutdown();
        ImGui::DestroyContext();
    }
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    bool Frame() {
        ImGui_ImplOpenGL2_NewFrame();
        ImGui::NewFrame();
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        const bool busy = viewer_->Frame(options_.width, options_.height);
        ImGui::Render();
        ImGui_ImplOpenGL2_RenderDrawData(ImGui::GetDrawData());
        return busy;
    }

    // Frames until nothing moves any more.
    void Settle() {
        for (int quiet = 0; quiet < 4;) quiet = Frame() ? 0 : quiet + 1;
    }

    void Do(const std::string& step) {
        std::istringstream words(step);
        std::string verb, rest;
        words >> verb;
        std::getline(words >> std::ws, rest);
        ImGuiIO& io = ImGui::GetIO();
        io.KeyCtrl = verb == "ctrl+click";
        // A hand takes its time: two clicks are no double click.
        io.DeltaTime = 1;
        Frame();
        io.DeltaTime = 1.0F / 60;
        if (verb == "key") {
            Press(rest);
        } else if (verb == "type") {
            for (const char c : rest) io.AddInputCharacter(static_cast<unsigned char>(c));
        } else if (verb == "shot") {
            Write(rest);
        } else if (verb == "move") {
            io.MousePos = Place(step, rest);
        } else if (verb == "click" || verb == "ctrl+click" || verb == "double") {
            io.MousePos = Place(step, rest);
            for (int i = verb == "double" ? 0 : 1; i < 2; ++i) Button(0);
        } else if (verb == "wheel") {
            Wheel(step, rest);
        } else if (verb == "drag" || verb == "right") {
            Drag(step, rest, verb == "drag" ? 0 : 1);
        } else {
            throw host::Failure("no such step: " + step);
        }
        Settle();
        io.KeyCtrl = false;
    }

    void Write(const std::string& path) { host::WritePng(path, context_.Read()); }
    std::vector<std::string> Measurements() const {
        std::vector<std::string> texts;
        for (const Measurement& m : viewer_->Measuring().Done()) texts.push_back(m.text);
        return texts;
    }
    const std::string& Complaint() const { return viewer_->Message(); }

private:
    static ImVec2 Place(const std::string& step, const std::string& text) {
        ImVec2 place;
        char comma = 0;
        std::istringstream in(text);
        if (!(in >> place.x >> comma >> place.y) || comma != ',') throw host::Failure("no place X,Y in: " + step);
        return place;
    }

    void Press(const std::string& name) {
        const bool shift = name.rfind("shift+", 0) == 0;
        const std::string key = shift ? name.substr(6) : name;
        ImGuiIO& io = ImGui::GetIO();
        if (key == "enter" || key == "escape") {
            const int code = 256 + (key == "enter" ? ImGuiKey_Enter : ImGuiKey_Escape);
            io.KeysDown[code] = true;
            Frame();
            io.KeysDown[code] = false;
        }
        const bool known = key == "enter" || io.WantTextInput ||
                           viewer_->Key(key == "escape" ? 27 : std::toupper(static_cast<unsigned char>(key[0])), shift);
        if (!known) throw host::Failure("a key that does nothing: " + name);
    }

    void Button(int button) {
        ImGuiIO& io = ImGui::GetIO();
        Frame();
        io.MouseDown[button] = true;
        Frame();
        io.MouseDown[button] = false;
        Frame();
    }

    void Wheel(const std::string& step, const std::string& rest) {
        std::istringstream in(rest);
        float notches = 0;
        std::string place;
        if (!(in >> notches >> place)) throw host::Failure("no notches and place in: " + step);
        ImGui::GetIO().MousePos = Place(step, place);
        Frame();
        ImGui::GetIO().MouseWheel = notches;
    }

    void Drag(const std::string& step, const std::string& rest, int button) {
        std::istringstream in(rest);
        std::string from, to;
        in >> from >> to;
        const ImVec2 start = Place(step, from), end = Place(step, to);
        ImGuiIO& io = ImGui::GetIO();
        io.MousePos = start;
        Frame();
        io.MouseDown[button] = true;
        constexpr int kSteps = 8;
        for (int i = 0; i <= kSteps; ++i) {
            const float part = static_cast<float>(i) / kSteps;
            io.MousePos = {start.x + part * (end.x - start.x), start.y + part * (end.y - start.y)};
            Frame();
        }
        io.MouseDown[button] = false;
    }

    const WindowOptions& options_;
    host::OffscreenContext context_;
    std::unique_ptr<Viewer> viewer_;
};

}  // namespace

std::vector<std::string> Rehearse(const WindowOptions& options, const std::vector<std::string>& steps,
                                  const std::string& output) {
    Stage stage(options);
    stage.Settle();
    if (!stage.Complaint().empty()) throw host::Failure(stage.Complaint());
    for (const std::string& step : steps) stage.Do(step);
    stage.Settle();
    if (!output.empty()) stage.Write(output);
    return stage.Measurements();
}

}  // namespace tessera::viewer
