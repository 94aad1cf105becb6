// The reflection images of ShadeEnvMap, each in OpenGL once.
#pragma once

#include <map>
#include <set>

#include "platform/text.h"

namespace tessera {

// The OpenGL names belong to the context that was current when they were made; nothing is deleted in OpenGL.
class TextureCache {
public:
    // "KMDefault", "KMStripes", or the path of a bitmap file. 0, and no entry, where there is no such picture.
    unsigned GetTexture(const String& name);
    // Forgets all names, as when the host has a new context.
    void Clear() {
        textures_.clear();
        unreadable_.clear();
    }

private:
    std::map<String, unsigned> textures_;
    std::set<String> unreadable_;  // told of once, not at every draw
};

}  // namespace tessera
