#pragma once

#include <imgui.h>

#include <optional>
#include <string>

#include "navigation.h"
#include "ruler.h"
#include "session.h"

namespace tessera::viewer {

// The viewer as a person sees it: panels around a picture of the scene, and what mouse and keys do there. It draws with
// ImGui into the current OpenGL context and reads its input from ImGui, so it runs in a window and off screen alike.
class Viewer {
public:
    Viewer();

    Session& Model() { return session_; }
    Ruler& Measuring() { return ruler_; }

    // One frame, of a window of so many pixels. False where nothing would change until the next input.
    bool Frame(int width, int height);
    // A key without a text field to go to, by its character in upper case. False for one that means nothing here.
    bool Key(int key, bool shift);
    // Shows the whole of the model, or of what is selected.
    void ShowAll();
    // The last failure or success.
    const std::string& Message() const { return message_; }
    bool WantsToQuit() const { return quit_; }

private:
    // In pixels of the window, from its top left corner.
    struct Area {
        float x = 0, y = 0, width = 1, height = 1;
        double Aspect() const { return static_cast<double>(width) / height; }
    };

    void HandleMouse();
    void Drag(const ImGuiIO& io);
    host::Cursor CursorAt(const ImVec2& place) const;
    void Click(const ImVec2& place, bool add);
    void DrawPicture(int windowHeight);

    // panels.cpp
    void ShowMenu();
    void ShowFileDialogs();
    void ShowTree();
    void ShowNode(const TreeNode& node, bool opened);
    bool Matches(const TreeNode& node) const;
    void ShowFacts();
    void ShowDisplay();
    void ShowSection();
    void ShowRuler();
    void ShowStatus();
    void ShowHelp();
    void Open(const std::string& path);
    void Save(const std::string& path);
    void LookFrom(host::View view);

    Session session_;
    host::Navigation navigation_;
    Ruler ruler_;
    host::Drawing drawing_;
    Area area_;
    bool reduceInMotion_ = true;
    bool quit_ = false;
    bool help_ = false;

    // ---- input under way ----
    enum class Hand { kNone, kOrbit, kPan, kRoll } hand_ = Hand::kNone;
    bool moved_ = false;      // since the button went down
    double restedSince_ = 0;  // seconds, when the picture last moved
    bool inMotion_ = false;
    std::optional<host::Found> hovered_;
    ImVec2 hoveredAt_{-1, -1};

    // ---- panels ----
    std::string filter_;
    std::string dialogPath_;
    bool openedTogether_ = false;  // with the first model, and not all loaded yet
    bool openDialog_ = false, saveDialog_ = false;
    std::string message_;  // the last failure or success, in the status bar
    int factsOf_ = -1;
    NodeFacts facts_;
};

}  // namespace tessera::viewer
