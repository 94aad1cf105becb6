#include "theme.h"

#include <imgui.h>

#include <filesystem>

namespace tessera::viewer {

namespace {

Theme g_theme;

// The first that is there of fonts that people have; else ImGui's own, which is drawn for small sizes.
void LoadFont(float size) {
    static const char* const kFonts[] = {
        "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf", "/usr/share/fonts/truetype/noto/NotoSans-Regular.ttf",
        "/usr/share/fonts/truetype/liberation/LiberationSans-Regular.ttf", "/usr/share/fonts/TTF/DejaVuSans.ttf"};
    std::error_code unreadable;
    for (const char* font : kFonts) {
        if (!std::filesystem::exists(font, unreadable)) continue;
        if (ImGui::GetIO().Fonts->AddFontFromFileTTF(font, size) != nullptr) return;
    }
    ImFontConfig config;
    config.SizePixels = 13.0F * (size / 15.0F);
    ImGui::GetIO().Fonts->AddFontDefault(&config);
}

}  // namespace

const Theme& CurrentTheme() { return g_theme; }

void ApplyTheme(float scale) {
    g_theme = Theme{};
    g_theme.scale = scale;
    for (float* size : {&g_theme.sideWidth, &g_theme.statusHeight}) *size *= scale;
    LoadFont(15 * scale);
    ImGui::StyleColorsLight();
    ImGuiStyle& style = ImGui::GetStyle();
    style.WindowRounding = 0;
    style.FrameRounding = 3;
    style.GrabRounding = 3;
    style.WindowBorderSize = 1;
    style.FrameBorderSize = 1;
    style.ItemSpacing = {7, 5};
    style.Colors[ImGuiCol_WindowBg] = {0.95F, 0.955F, 0.965F, 1};
    style.Colors[ImGuiCol_MenuBarBg] = {0.89F, 0.905F, 0.925F, 1};
    style.Colors[ImGuiCol_FrameBg] = {1, 1, 1, 1};
    style.Colors[ImGuiCol_Header] = {0.75F, 0.84F, 0.95F, 1};
    style.Colors[ImGuiCol_Button] = {0.82F, 0.87F, 0.93F, 1};
    style.Colors[ImGuiCol_Border] = {0.75F, 0.78F, 0.82F, 1};
    style.ScaleAllSizes(scale);
}

}  // namespace tessera::viewer
