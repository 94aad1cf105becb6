#include "viewer.h"

#include <GL/gl.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "failure.h"
#include "theme.h"

namespace tessera::viewer {

namespace {

// Models of more triangles are drawn reduced while they move, once their levels of detail are there.
constexpr std::uint64_t kManyTriangles = 200000;
// Seconds after which the picture counts as at rest.
constexpr double kRest = 0.25;
// How far a wheel's notch and a drag across the picture go.
constexpr double kNotch = 1.15, kTurn = std::numbers::pi / 2;
// How many pixels away an edge or a point is found.
constexpr double kReach = 9;

}  // namespace

Viewer::Viewer() {
    drawing_.highlight = true;
    LookFrom(host::View::kIso);
}

void Viewer::Open(const std::string& path) {
    message_.clear();
    session_.Open(path);
}

void Viewer::Save(const std::string& path) {
    try {
        session_.Save(path, navigation_.At(area_.Aspect(), session_.ShownBox()));
        message_ = "written: " + path;
    } catch (const host::Failure& failure) {
        message_ = failure.what();
    }
}

void Viewer::LookFrom(host::View view) {
    navigation_.SetUp(session_.Up());
    navigation_.LookFrom(view, session_.ShownBox(), area_.Aspect());
}

void Viewer::ShowAll() {
    navigation_.Show(session_.Selected().empty() ? session_.ShownBox() : session_.BoxOf(session_.Selected()),
                     area_.Aspect());
}

bool Viewer::Key(int key, bool shift) {
    message_.clear();
    constexpr host::View kViews[] = {host::View::kIso,   host::View::kFront, host::View::kBack,  host::View::kLeft,
                                     host::View::kRight, host::View::kTop,   host::View::kBottom};
    if (key >= '0' && key <= '6') {
        LookFrom(kViews[key - '0']);
        return true;
    }
    switch (key) {
        case 'F': ShowAll(); return true;
        case 'P': navigation_.SetParallel(!navigation_.Parallel()); return true;
        case 'E':
            drawing_.overlay = drawing_.overlay == host::Overlay::kEdges ? host::Overlay::kNone : host::Overlay::kEdges;
            return true;
        case 'S':
            session_.section.on = !session_.section.on;
            session_.ApplySection();
            return true;
        case 'H': shift ? session_.ShowAll() : session_.HideSelected(); return true;
        case 'I': session_.Isolate(); return true;
        case 'D': ruler_.Use(Tool::kDistance); return true;
        case 'L': ruler_.Use(Tool::kLength); return true;
        case 'R': ruler_.Use(Tool::kRadius); return true;
        case 'A': ruler_.Use(Tool::kAngle); return true;
        case 'O': openDialog_ = true; return true;
        case 'W': saveDialog_ = !session_.IsEmpty(); return true;
        case '?': help_ = !help_; return true;
        case 27:  // escape
            if (ruler_.Using() == Tool::kSelect) session_.ClearSelection();
            ruler_.Use(Tool::kSelect);
            return true;
        default: return false;
    }
}

host::Cursor Viewer::CursorAt(const ImVec2& place) const {
    const host::Camera camera = navigation_.At(area_.Aspect(), session_.ShownBox());
    return {camera,
            static_cast<int>(area_.width),
            static_cast<int>(area_.height),
            double(place.x - area_.x),
            double(place.y - area_.y),
            kReach};
}

void Viewer::Click(const ImVec2& place, bool add) {
    message_.clear();
    if (session_.IsEmpty()) return;
    host::Cursor cursor = CursorAt(place);
    const std::optional<host::Found> found = ruler_.Find(session_.Scene(), cursor);
    if (ruler_.Using() != Tool::kSelect) {
        if (found) ruler_.Take(*found);
    } else if (found) {
        session_.Select(found->node, add);
    } else if (!add) {
        session_.ClearSelection();
    }
}

void Viewer::Drag(const ImGuiIO& io) {
    const double half = static_cast<double>(area_.height) / 2;
    const double right = double(io.MouseDelta.x) / half, up = double(-io.MouseDelta.y) / half;
    if (right == 0 && up == 0) return;
    moved_ = true;
    inMotion_ = true;
    restedSince_ = ImGui::GetTime();
    if (hand_ == Hand::kOrbit) navigation_.Orbit(right * kTurn, up * kTurn);
    if (hand_ == Hand::kPan) navigation_.Pan(right, up);
    if (hand_ == Hand::kRoll) navigation_.Roll(right * kTurn);
}

// The left button selects, and turns where it is dragged; middle and right button move, with control they roll. The
// wheel zooms to where the mouse is.
void Viewer::HandleMouse() {
    const ImGuiIO& io = ImGui::GetIO();
    const ImVec2 place = io.MousePos;
    const bool inside = place.x >= area_.x && place.y >= area_.y && place.x < area_.x + area_.width &&
                        place.y < area_.y + area_.height && !io.WantCaptureMouse;
    if (hand_ == Hand::kNone && inside) {
        if (ImGui::IsMouseDoubleClicked(0)) {
            host::Cursor cursor = CursorAt(place);
            const auto found = Ruler().Find(session_.Scene(), cursor);
            if (found) navigation_.SetPivot(found->point);
        } else if (ImGui::IsMouseClicked(0)) {
            hand_ = io.KeyShift ? Hand::kPan : Hand::kOrbit;
            moved_ = false;
        } else if (ImGui::IsMouseClicked(1) || ImGui::IsMouseClicked(2)) {
            hand_ = io.KeyCtrl ? Hand::kRoll : Hand::kPan;
            moved_ = false;
        }
        if (io.MouseWheel != 0) {
            const double half = static_cast<double>(area_.height) / 2;
            navigation_.Zoom(std::pow(kNotch, static_cast<double>(io.MouseWheel)),
                             (place.x - area_.x - area_.width / 2) / half,
                             (area_.y + area_.height / 2 - place.y) / half);
            inMotion_ = true;
            restedSince_ = ImGui::GetTime();
        }
    }
    if (hand_ != Hand::kNone) {
        // A hand that trembles still clicks.
        const bool dragged =
            moved_ || ImGui::IsMouseDragging(0, 3) || ImGui::IsMouseDragging(1, 1) || ImGui::IsMouseDragging(2, 1);
        if (dragged) Drag(io);
        if (!io.MouseDown[0] && !io.MouseDown[1] && !io.MouseDown[2]) {
            if (!moved_ && ImGui::IsMouseReleased(0)) Click(place, io.KeyCtrl || io.KeyShift);
            hand_ = Hand::kNone;
        }
    }
    if (ImGui::GetTime() - restedSince_ > kRest) inMotion_ = false;
    // What a click would take shows once the mouse stands still, as finding it takes time on large models.
    const bool still = io.MouseDelta.x == 0 && io.MouseDelta.y == 0;
    if (!inside || hand_ != Hand::kNone || inMotion_ || session_.IsEmpty()) hovered_.reset();
    const bool elsewhere = place.x != hoveredAt_.x || place.y != hoveredAt_.y;
    if (inside && hand_ == Hand::kNone && !inMotion_ && still && elsewhere && !session_.IsEmpty()) {
        host::Cursor cursor = CursorAt(place);
        hovered_ = ruler_.Find(session_.Scene(), cursor);
        hoveredAt_ = place;
    }
    if (inMotion_) hoveredAt_ = {-1, -1};
}

void Viewer::DrawPicture(int windowHeight) {
    // Where the window counts in points, a point is several pixels.
    const float dense = std::max(1.0F, ImGui::GetIO().DisplayFramebufferScale.x);
    const auto pixels = [dense](float points) { return static_cast<int>(dense * points); };
    const int x = pixels(area_.x), y = pixels(static_cast<float>(windowHeight) - area_.y - area_.height);
    const int width = pixels(area_.width), height = pixels(area_.height);
    const host::Box box = session_.ShownBox();
    const host::Camera camera = navigation_.At(area_.Aspect(), box);
    float eye[3], target[3];
    std::copy(camera.Eye().begin(), camera.Eye().end(), eye);
    std::copy(camera.Target().begin(), camera.Target().end(), target);
    int err = 0;
    ITessera& scene = session_.Scene();
    scene.SetCamera(eye, target, &err);
    scene.SetViewingType(0, navigation_.Parallel() ? 1 : 0, &err);
    host::Drawing drawing = drawing_;
    drawing.exploded = session_.explosion > 0;
    // The engine shows the plane with the lines of the cut as the model has them, not as it stands apart.
    if (session_.section.on && session_.section.shown && !drawing.exploded) drawing.plane = session_.Plane();
    if (inMotion_ && reduceInMotion_ && session_.IsReduced()) drawing.acceleration = 40.0F;
    if (!inMotion_) scene.ResetAcceleration();

    glPushAttrib(GL_ALL_ATTRIB_BITS);
    glPushClientAttrib(GL_CLIENT_ALL_ATTRIB_BITS);
    glViewport(x, y, width, height);
    glScissor(x, y, width, height);
    glEnable(GL_SCISSOR_TEST);
    host::DrawScene(scene, camera, drawing);
    host::DrawMarks(ruler_.Marks());
    if (hovered_ && ruler_.Using() != Tool::kSelect) host::DrawMarks(Ruler::MarksOf(*hovered_), {0.1F, 0.45F, 0.9F});
    glPopClientAttrib();
    glPopAttrib();
}

bool Viewer::Frame(int width, int height) {
    const bool wasEmpty = session_.IsEmpty();
    // The process that reads is split off this one, best while the driver's threads rest.
    if (session_.IsLoading()) glFinish();
    if (session_.Load()) {
        if (wasEmpty) LookFrom(host::View::kIso);
        // Models that are opened together are shown together.
        openedTogether_ = wasEmpty || openedTogether_;
        if (openedTogether_ && !wasEmpty) ShowAll();
        openedTogether_ = openedTogether_ && session_.IsLoading();
        std::uint64_t triangles = 0;
        for (const host::LoadedModel& model : session_.Models()) triangles += model.TrianglesPlaced();
        if (triangles > kManyTriangles && reduceInMotion_) session_.Reduce();
    }
    if (!session_.complaints.empty()) {
        message_ = session_.complaints.back();
        session_.complaints.clear();
    }
    const Theme& theme = CurrentTheme();
    const float bar = ImGui::GetFrameHeight();
    area_ = {theme.sideWidth, bar, std::max(1.0F, static_cast<float>(width) - 2 * theme.sideWidth),
             std::max(1.0F, static_cast<float>(height) - bar - theme.statusHeight)};
    ShowMenu();
    ShowTree();
    ShowDisplay();
    ShowStatus();
    ShowFileDialogs();
    ShowHelp();
    HandleMouse();
    if (width > 0 && height > 0) DrawPicture(height);
    return session_.IsLoading() || inMotion_ || hand_ != Hand::kNone;
}

}  // namespace tessera::viewer
