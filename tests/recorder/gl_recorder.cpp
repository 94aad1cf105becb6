#include "gl_recorder.h"

#include <algorithm>

namespace tessera::test {

namespace {

bool Reads(const Call& call, std::string_view text) {
    if (text.substr(0, text.find(' ')) != call.name) return false;
    const std::string full = call.Text();
    return full.starts_with(text) && (full.size() == text.size() || full[text.size()] == ' ');
}

}  // namespace

Recording::Recording() : start_(TheLog().context) {
    Log& log = TheLog();
    log.calls.clear();
    log.primitives.clear();
    log.violations.clear();
    log.pointersUnused = log.pointersPending = 0;
    log.logging = true;
}

Recording::~Recording() { TheLog().logging = false; }

const std::vector<Call>& Recording::Calls() const { return TheLog().calls; }

const std::vector<Primitive>& Recording::Primitives() const { return TheLog().primitives; }

std::vector<Primitive> Recording::PrimitivesOf(GLenum mode) const {
    std::vector<Primitive> found;
    for (const Primitive& primitive : Primitives())
        if (primitive.mode == mode) found.push_back(primitive);
    return found;
}

std::vector<Segment> Recording::Segments() const {
    std::vector<Segment> segments;
    for (const Primitive& primitive : Primitives())
        for (std::size_t i = 0; primitive.mode == GL_LINES && i + 1 < primitive.vertices.size(); i += 2)
            segments.push_back({{primitive.World(i), primitive.vertices[i].color},
                                {primitive.World(i + 1), primitive.vertices[i + 1].color}});
    return segments;
}

std::vector<Spot> Recording::Points() const {
    std::vector<Spot> points;
    for (const Primitive& primitive : Primitives())
        for (std::size_t i = 0; primitive.mode == GL_POINTS && i < primitive.vertices.size(); ++i)
            points.push_back({primitive.World(i), primitive.vertices[i].color});
    return points;
}

int Recording::Count(std::string_view text) const {
    int count = 0;
    for (const Call& call : Calls()) count += Reads(call, text);
    return count;
}

int Recording::Index(std::string_view text, int from) const {
    for (int i = from; i < static_cast<int>(Calls().size()); ++i)
        if (Reads(Calls()[i], text)) return i;
    return -1;
}

std::vector<std::string> Recording::Sequence(int from, int to) const {
    std::vector<std::string> texts;
    const auto add = [&texts](std::string text) {
        if (texts.empty() || texts.back() != text) texts.push_back(std::move(text));
    };
    for (int i = from; i < to; ++i) {
        const Call& call = Calls()[i];
        const std::string_view name = call.name;
        if (name == "glBegin" || name == "glDrawArrays") {
            add(ConstantName(static_cast<GLenum>(call.arguments[0].value)));
            while (name == "glBegin" && i + 1 < to && Calls()[i].name != std::string_view("glEnd")) ++i;
        } else {
            add(name.starts_with("glMaterial") ? "materials" : call.Text());
        }
    }
    return texts;
}

std::vector<std::string> Recording::Violations() const {
    const Log& log = TheLog();
    std::vector<std::string> list = log.violations;
    if (log.open) list.push_back("glBegin without glEnd");
    const auto compare = [&list](std::size_t then, std::size_t now, const char* stack) {
        if (then != now) list.push_back(std::string(stack) + " stack left at another depth");
    };
    compare(start_.modelview.size(), log.context.modelview.size(), "modelview");
    compare(start_.projection.size(), log.context.projection.size(), "projection");
    compare(start_.attributes.size(), log.context.attributes.size(), "attribute");
    compare(start_.clientAttributes.size(), log.context.clientAttributes.size(), "client attribute");
    return list;
}

int Recording::UnusedPointers() const { return TheLog().pointersUnused; }

std::vector<std::string> Recording::Changed() const {
    const Context& now = TheLog().context;
    std::vector<std::string> names;
    for (const Field& field : Fields())
        if (!std::equal(field.In(now.state), field.In(now.state) + field.Count(), field.In(start_.state)))
            names.push_back(field.name);
    if (!(start_.client == now.client)) names.push_back("client arrays");
    if (start_.modelview != now.modelview || start_.projection != now.projection) names.push_back("matrices");
    return names;
}

}  // namespace tessera::test
