// The panels around the picture.
#include <imgui.h>
#include <imgui_stdlib.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <iterator>

#include "theme.h"
#include "viewer.h"

namespace tessera::viewer {

namespace {

constexpr ImGuiWindowFlags kFixed = ImGuiWindowFlags_NoMove | ImGuiWindowFlags_NoResize | ImGuiWindowFlags_NoCollapse |
                                    ImGuiWindowFlags_NoTitleBar | ImGuiWindowFlags_NoSavedSettings;

struct NamedMode {
    const char* name;
    short mode;
};
constexpr NamedMode kModes[] = {
    {"Shaded", ShadeSmooth},
    {"Shaded with edges", ShadeSmoothEdges},
    {"Flat triangles", ShadeFlat},
    {"Hidden lines removed", ShadeHiddenLine},
    {"Edges", ShadeWire},
    {"All triangle edges", ShadeWireAll},
    {"Reflection", ShadeEnvMap},
    {"Dashed silhouette", ShadeSilhouetteDashed},
    {"Vertices", ShadeVertexCloud},
    {"Strip corners", ShadeStripPoints},
    {"Lines of the cut", ShadeSection},
    {"Highlighted", ShadeHighlight},
};

struct NamedView {
    const char* name;
    const char* key;
    host::View view;
};
constexpr NamedView kViewItems[] = {
    {"Isometric", "0", host::View::kIso}, {"Front", "1", host::View::kFront}, {"Back", "2", host::View::kBack},
    {"Left", "3", host::View::kLeft},     {"Right", "4", host::View::kRight}, {"Top", "5", host::View::kTop},
    {"Bottom", "6", host::View::kBottom},
};

struct NamedTool {
    const char* name;
    const char* key;
    Tool tool;
};
constexpr NamedTool kTools[] = {
    {"Select", "Esc", Tool::kSelect},          {"Distance", "D", Tool::kDistance},
    {"Length of an edge", "L", Tool::kLength}, {"Radius of an edge", "R", Tool::kRadius},
    {"Angle of faces", "A", Tool::kAngle},
};

constexpr const char* kHelp[][2] = {
    {"Left click", "select; with Ctrl or Shift, more"},
    {"Left drag", "turn the model"},
    {"Middle or right drag", "move it; with Ctrl, roll"},
    {"Wheel", "zoom to where the mouse is"},
    {"Double click", "turn about this point"},
    {"0 to 6", "isometric, front, back, left, right, top, bottom"},
    {"F", "show all, or what is selected"},
    {"P", "parallel or perspective"},
    {"E", "edges over the surface"},
    {"S", "section on and off"},
    {"H, Shift+H", "hide what is selected, show all"},
    {"I", "isolate what is selected"},
    {"D, L, R, A", "measure distance, length, radius, angle"},
    {"Esc", "stop measuring, or select nothing"},
    {"O, W", "open, write"},
    {"?", "this page"},
};

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// Panels stand at fixed places.
bool BeginPanel(const char* name, float x, float y, float width, float height) {
    ImGui::SetNextWindowPos({x, y});
    ImGui::SetNextWindowSize({width, height});
    return ImGui::Begin(name, nullptr, kFixed);
}

void Line(const char* what, const char* format, double value) {
    char text[48];
    std::snprintf(text, sizeof text, format, value);
    ImGui::TextDisabled("%s", what);
    ImGui::SameLine(110 * CurrentTheme().scale);
    ImGui::TextUnformatted(text);
}

void Line(const char* what, const host::Vec3& p) {
    char text[96];
    std::snprintf(text, sizeof text, "%.5g, %.5g, %.5g", p[0], p[1], p[2]);
    ImGui::TextDisabled("%s", what);
    ImGui::SameLine(110 * CurrentTheme().scale);
    ImGui::TextUnformatted(text);
}

}  // namespace

void Viewer::ShowMenu() {
    if (!ImGui::BeginMainMenuBar()) return;
    if (ImGui::BeginMenu("File")) {
        if (ImGui::MenuItem("Open...", "O")) openDialog_ = true;
        if (ImGui::MenuItem("Write...", "W", false, !session_.IsEmpty())) saveDialog_ = true;
        if (ImGui::MenuItem("Close all", nullptr, false, !session_.IsEmpty())) {
            session_.Close();
            ruler_.Clear();
            factsOf_ = -1;
        }
        ImGui::Separator();
        if (ImGui::MenuItem("Quit", "Ctrl+Q")) quit_ = true;
        ImGui::EndMenu();
    }
    if (ImGui::BeginMenu("View")) {
        for (const NamedView& item : kViewItems) {
            if (ImGui::MenuItem(item.name, item.key)) LookFrom(item.view);
        }
        ImGui::Separator();
        if (ImGui::MenuItem("Show all", "F")) ShowAll();
        if (ImGui::MenuItem("Parallel", "P", navigation_.Parallel())) Key('P', false);
        ImGui::EndMenu();
    }
    if (ImGui::BeginMenu("Parts")) {
        if (ImGui::MenuItem("Hide selected", "H")) session_.HideSelected();
        if (ImGui::MenuItem("Isolate selected", "I")) session_.Isolate();
        if (ImGui::MenuItem("Show all parts", "Shift+H")) session_.ShowAll();
        ImGui::EndMenu();
    }
    if (ImGui::BeginMenu("Measure")) {
        for (const NamedTool& item : kTools) {
            if (ImGui::MenuItem(item.name, item.key, ruler_.Using() == item.tool)) ruler_.Use(item.tool);
        }
        ImGui::EndMenu();
    }
    if (ImGui::MenuItem("Help")) help_ = true;
    ImGui::EndMainMenuBar();
}

// A field for the name with a button: what a file dialog would show differs from desktop to desktop.
void Viewer::ShowFileDialogs() {
    for (const bool open : {true, false}) {
        bool& wanted = open ? openDialog_ : saveDialog_;
        const char* const title = open ? "Open a model" : "Write what is shown";
        if (wanted) {
            ImGui::OpenPopup(title);
            dialogPath_.clear();
            wanted = false;
        }
        if (!ImGui::BeginPopupModal(title, nullptr, ImGuiWindowFlags_AlwaysAutoResize)) continue;
        ImGui::TextDisabled("%s",
                            open ? "3DG, U3D, STL, OBJ, PLY, OFF, glTF, GLB, 3DS or DAE; or drop files on the window"
                                 : "A name that ends in .3dg, .wrl, .u3d, or .xml for the lines of the section");
        if (ImGui::IsWindowAppearing()) ImGui::SetKeyboardFocusHere();
        ImGui::SetNextItemWidth(520 * CurrentTheme().scale);
        const bool entered = ImGui::InputText("##path", &dialogPath_, ImGuiInputTextFlags_EnterReturnsTrue);
        const bool done = ImGui::Button(open ? "Open" : "Write") || entered;
        ImGui::SameLine();
        const bool cancelled = ImGui::Button("Cancel") || ImGui::IsKeyPressed(ImGui::GetKeyIndex(ImGuiKey_Escape));
        if (done && !dialogPath_.empty()) open ? Open(dialogPath_) : Save(dialogPath_);
        if (done || cancelled) ImGui::CloseCurrentPopup();
        ImGui::EndPopup();
    }
}

bool Viewer::Matches(const TreeNode& node) const {
    if (Lower(node.name).find(Lower(filter_)) != std::string::npos) return true;
    return std::any_of(node.children.begin(), node.children.end(),
                       [this](const TreeNode& child) { return Matches(child); });
}

void Viewer::ShowNode(const TreeNode& node, bool opened) {
    if (!filter_.empty() && !Matches(node)) return;
    ImGui::PushID(node.id);
    bool shown = session_.IsShown(node.id);
    if (ImGui::Checkbox("##shown", &shown)) session_.Show(node.id, shown);
    ImGui::SameLine();
    ImGuiTreeNodeFlags flags = ImGuiTreeNodeFlags_OpenOnArrow | ImGuiTreeNodeFlags_SpanAvailWidth;
    if (node.children.empty()) flags |= ImGuiTreeNodeFlags_Leaf;
    if (session_.Selected().count(node.id) != 0) flags |= ImGuiTreeNodeFlags_Selected;
    // A filter shows where its matches are.
    if (!filter_.empty()) ImGui::SetNextItemOpen(true);
    if (opened) ImGui::SetNextItemOpen(true, ImGuiCond_Once);
    const bool open = ImGui::TreeNodeEx("##node", flags, "%s", node.name.c_str());
    if (ImGui::IsItemClicked() && !ImGui::IsItemToggledOpen()) session_.Select(node.id, ImGui::GetIO().KeyCtrl);
    if (ImGui::IsItemHovered()) {
        ImGui::SetTooltip("%s\n%llu triangles", node.name.c_str(), static_cast<unsigned long long>(node.triangles));
    }
    if (open) {
        for (const TreeNode& child : node.children) ShowNode(child, false);
        ImGui::TreePop();
    }
    ImGui::PopID();
}

void Viewer::ShowTree() {
    const Theme& theme = CurrentTheme();
    const float height = std::floor(area_.height * (session_.Selected().empty() ? 1.0F : 0.58F));
    BeginPanel("Tree", 0, area_.y, theme.sideWidth, height);
    ImGui::SetNextItemWidth(-1);
    ImGui::InputTextWithHint("##filter", "find by name", &filter_);
    ImGui::BeginChild("nodes", {0, 0}, false, ImGuiWindowFlags_HorizontalScrollbar);
    for (const TreeNode& node : session_.Tree().children) ShowNode(node, true);
    if (session_.IsEmpty() && !session_.IsLoading()) ImGui::TextWrapped("No model. Press O, or drop files here.");
    ImGui::EndChild();
    ImGui::End();
    if (!session_.Selected().empty()) ShowFacts();
}

void Viewer::ShowFacts() {
    const Theme& theme = CurrentTheme();
    const int node = *session_.Selected().rbegin();
    if (factsOf_ != node) facts_ = session_.FactsOf(node);
    factsOf_ = node;
    const float top = area_.y + std::floor(area_.height * 0.58F);
    BeginPanel("Facts", 0, top, theme.sideWidth, area_.y + area_.height - top);
    ImGui::TextWrapped("%s", facts_.path.c_str());
    if (session_.Selected().size() > 1) ImGui::TextDisabled("and %d more", int(session_.Selected().size()) - 1);
    ImGui::Separator();
    Line("triangles", "%.0f", static_cast<double>(facts_.triangles));
    if (facts_.instances > 1) Line("instances", "%.0f", static_cast<double>(facts_.instances));
    host::Vec3 size;
    for (std::size_t i = 0; i < 3; ++i) size[i] = facts_.box.max[i] - facts_.box.min[i];
    Line("size", size);
    if (facts_.volume) {
        Line("volume", "%.6g", *facts_.volume);
        Line("surface area", "%.6g", *facts_.area);
        Line("centre of mass", facts_.center);
    } else if (ImGui::Button("Volume, area, centre of mass")) {
        session_.Measure(node, facts_);
    }
    host::Rgb color = session_.ColorOf(node);
    if (ImGui::ColorEdit3("colour", color.data(), ImGuiColorEditFlags_NoInputs)) session_.SetColor(node, color);
    float transparency = session_.TransparencyOf(node);
    ImGui::SetNextItemWidth(-90 * theme.scale);
    if (ImGui::SliderFloat("clear", &transparency, 0, 0.95F, "%.2f")) session_.SetTransparency(node, transparency);
    if (ImGui::Button("Hide")) session_.HideSelected();
    ImGui::SameLine();
    if (ImGui::Button("Isolate")) session_.Isolate();
    ImGui::SameLine();
    if (ImGui::Button("Show")) ShowAll();
    ImGui::End();
}

void Viewer::ShowDisplay() {
    const Theme& theme = CurrentTheme();
    BeginPanel("Display", area_.x + area_.width, area_.y, theme.sideWidth, area_.height);
    if (ImGui::CollapsingHeader("Display", ImGuiTreeNodeFlags_DefaultOpen)) {
        const auto current = std::find_if(std::begin(kModes), std::end(kModes),
                                          [this](const NamedMode& m) { return m.mode == drawing_.mode; });
        ImGui::SetNextItemWidth(-1);
        if (ImGui::BeginCombo("##mode", current->name, ImGuiComboFlags_HeightLargest)) {
            for (const NamedMode& m : kModes) {
                if (!ImGui::Selectable(m.name, m.mode == drawing_.mode)) continue;
                drawing_.mode = m.mode;
                if (m.mode == ShadeEnvMap) session_.SetTexture("KMDefault");
            }
            ImGui::EndCombo();
        }
        int overlay = static_cast<int>(drawing_.overlay);
        if (ImGui::Combo("over it", &overlay, "nothing\0edges\0vertices\0")) {
            drawing_.overlay = static_cast<host::Overlay>(overlay);
        }
        bool parallel = navigation_.Parallel();
        if (ImGui::Checkbox("parallel", &parallel)) navigation_.SetParallel(parallel);
        ImGui::SameLine();
        if (ImGui::Checkbox("reduce in motion", &reduceInMotion_) && reduceInMotion_) session_.Reduce();
        ImGui::ColorEdit3("ground, top", drawing_.top.data(), ImGuiColorEditFlags_NoInputs);
        ImGui::ColorEdit3("ground, bottom", drawing_.bottom.data(), ImGuiColorEditFlags_NoInputs);
        if (ImGui::SliderFloat("apart", &session_.explosion, 0, 2, "%.2f")) session_.ApplyExplosion();
    }
    ShowSection();
    ShowRuler();
    ImGui::End();
}

void Viewer::ShowSection() {
    if (!ImGui::CollapsingHeader("Section", ImGuiTreeNodeFlags_DefaultOpen)) return;
    SectionPlane& plane = session_.section;
    bool changed = ImGui::Checkbox("cut", &plane.on);
    ImGui::SameLine();
    changed |= ImGui::Checkbox("cap", &plane.capped);
    ImGui::SameLine();
    changed |= ImGui::Checkbox("flip", &plane.flipped);
    ImGui::SameLine();
    ImGui::Checkbox("plane", &plane.shown);
    const char* const axes[] = {"X", "Y", "Z", "view"};
    for (int axis = 0; axis < 4; ++axis) {
        if (axis > 0) ImGui::SameLine();
        if (!ImGui::RadioButton(axes[axis], plane.axis == axis)) continue;
        plane.axis = axis;
        if (axis == 3) {
            const host::Vec3 back = navigation_.At(area_.Aspect(), session_.ShownBox()).Backward();
            plane.normal = {-back[0], -back[1], -back[2]};
        }
        changed = true;
    }
    ImGui::SetNextItemWidth(-1);
    changed |= ImGui::SliderFloat("##place", &plane.place, 0, 1, "at %.3f");
    if (changed) session_.ApplySection();
}

void Viewer::ShowRuler() {
    if (!ImGui::CollapsingHeader("Measure", ImGuiTreeNodeFlags_DefaultOpen)) return;
    for (const NamedTool& item : kTools) {
        if (ImGui::RadioButton(item.name, ruler_.Using() == item.tool)) ruler_.Use(item.tool);
    }
    if (ruler_.Hint()[0] != '\0') ImGui::TextWrapped("%s.", ruler_.Hint());
    std::size_t removed = ruler_.Done().size();
    for (std::size_t i = 0; i < ruler_.Done().size(); ++i) {
        ImGui::PushID(static_cast<int>(i));
        if (ImGui::SmallButton("x")) removed = i;
        ImGui::SameLine();
        ImGui::TextWrapped("%s", ruler_.Done()[i].text.c_str());
        ImGui::PopID();
    }
    if (removed < ruler_.Done().size()) ruler_.Remove(removed);
}

void Viewer::ShowStatus() {
    const Theme& theme = CurrentTheme();
    ImGui::PushStyleVar(ImGuiStyleVar_WindowPadding, {8 * theme.scale, 5 * theme.scale});
    BeginPanel("Status", 0, area_.y + area_.height, area_.width + 2 * theme.sideWidth, theme.statusHeight);
    if (session_.IsLoading()) {
        const double fraction = session_.LoadingFraction();
        ImGui::ProgressBar(fraction < 0 ? 0.5F : static_cast<float>(fraction), {160 * theme.scale, 0},
                           fraction < 0 ? "" : nullptr);
        ImGui::SameLine();
        ImGui::Text("reading %s", session_.LoadingPath().c_str());
    } else if (!message_.empty()) {
        ImGui::TextUnformatted(message_.c_str());
    } else if (hovered_) {
        ImGui::Text("%s   %.5g, %.5g, %.5g", hovered_->path.c_str(), hovered_->point[0], hovered_->point[1],
                    hovered_->point[2]);
    } else {
        ImGui::TextUnformatted(ruler_.Hint());
    }
    char right[64];
    std::snprintf(right, sizeof right, "%llu triangles", static_cast<unsigned long long>(session_.Tree().triangles));
    ImGui::SameLine(ImGui::GetWindowWidth() - ImGui::CalcTextSize(right).x - 12 * theme.scale);
    ImGui::TextDisabled("%s", right);
    ImGui::End();
    ImGui::PopStyleVar();
}

void Viewer::ShowHelp() {
    if (!help_) return;
    ImGui::SetNextWindowPos({area_.x + 40, area_.y + 40}, ImGuiCond_Appearing);
    if (ImGui::Begin("Mouse and keys", &help_, ImGuiWindowFlags_AlwaysAutoResize | ImGuiWindowFlags_NoSavedSettings)) {
        for (const auto& [what, does] : kHelp) {
            ImGui::TextUnformatted(what);
            ImGui::SameLine(190 * CurrentTheme().scale);
            ImGui::TextDisabled("%s", does);
        }
    }
    ImGui::End();
}

}  // namespace tessera::viewer
