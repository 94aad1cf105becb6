#include <algorithm>

#include "render_fixture.h"

namespace tessera::test {

Recording::Recording() : start_(TheLog().context) {
    TheLog() = Log();
    TheLog().context = start_;
    TheLog().logging = true;
}

std::vector<Primitive> Recording::PrimitivesOf(GLenum mode) const {
    std::vector<Primitive> found = Primitives();
    std::erase_if(found, [mode](const Primitive& primitive) { return primitive.mode != mode; });
    return found;
}

std::vector<Spot> Recording::Spots(GLenum mode) const {
    std::vector<Spot> spots;
    for (const Primitive& primitive : PrimitivesOf(mode))
        for (std::size_t i = 0; i < primitive.vertices.size(); ++i)
            spots.push_back({primitive.World(i), primitive.vertices[i].color});
    return spots;
}

std::vector<Segment> Recording::Segments() const {
    std::vector<Segment> segments;
    const auto ends = Spots(GL_LINES);
    for (std::size_t i = 0; i + 1 < ends.size(); i += 2) segments.push_back({ends[i], ends[i + 1]});
    return segments;
}

int Recording::Count(std::string_view text) const {
    int count = 0;
    for (int at = -1; (at = Index(text, at + 1)) >= 0;) ++count;
    return count;
}

int Recording::Index(std::string_view text, int from) const {
    const std::string whole = std::string(text) + ' ';
    for (int i = from; i < static_cast<int>(Calls().size()); ++i)
        if (text.starts_with(Calls()[i].name) && (Calls()[i].Text() + ' ').starts_with(whole)) return i;
    return -1;
}

Texts Recording::Bodies() const {
    Texts bodies;
    for (int i = -1, end = 0; (i = Index("glFrontFace", i + 1)) >= 0 && (end = Index("glPopMatrix", i)) >= 0;) {
        std::string& body = bodies.emplace_back();
        for (std::string last; ++i < end;) {
            const Call& call = Calls()[i];
            const std::string name = call.name;
            const bool drawn = name == "glBegin" || name == "glDrawArrays";
            const std::string text = drawn ? ConstantName(static_cast<GLenum>(call.arguments[0].value))
                                     : name.starts_with("glMaterial") ? "materials"
                                                                      : call.Text();
            if (text != last) body += text + "; ";
            last = text;
            if (name == "glBegin") i = Index("glEnd", i);
        }
        for (const std::string prefix : {"gl", "GL_"})
            for (std::size_t at; (at = body.find(prefix)) != std::string::npos;) body.erase(at, prefix.size());
    }
    return bodies;
}

Texts Recording::Violations() const {
    const Context& now = TheLog().context;
    Texts list = TheLog().violations;
    if (TheLog().open) list.push_back("glBegin without glEnd");
    const auto compare = [&list](const auto& then, const auto& stack, const char* name) {
        if (then.size() != stack.size()) list.push_back(std::string(name) + " stack left at another depth");
    };
    compare(start_.modelview, now.modelview, "modelview"), compare(start_.projection, now.projection, "projection");
    compare(start_.attributes, now.attributes, "attribute");
    compare(start_.clientAttributes, now.clientAttributes, "client attribute");
    return list;
}

Texts Recording::Changed() const {
    const Context& now = TheLog().context;
    Texts names;
    for (const Field& field : Fields())
        if (!std::equal(field.In(now.state), field.In(now.state) + field.count, field.In(start_.state)))
            names.push_back(field.name);
    if (start_.client != now.client) names.push_back("client arrays");
    if (start_.modelview != now.modelview || start_.projection != now.projection) names.push_back("matrices");
    return names;
}

}  // namespace tessera::test
