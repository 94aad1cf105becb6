// The thread that keeps models from outgrowing the machine's memory.
#pragma once

#include <memory>

namespace tessera {

class CAssembly;
class ProcessMemory;
class SpoolFileList;

// Looks from time to time how much memory the process uses, and when that is too much has all meshes of a tree written
// to a file and freed; each comes back when it is next read. There is one watcher in a process: the first component
// starts it for its own tree, and the end of any component ends it.
class MemoryWatcher {
public:
    // What a watcher that starts from now on goes by. Tests alone change it, while there is no watcher.
    struct Settings {
        const ProcessMemory* memory = nullptr;  // not owned; null for the system's
        double pace = 1;                        // factor on all pauses
    };
    static Settings g_settings;

    // Nothing where a watcher runs already, or cannot be had: models then stay in memory. Both must outlive the
    // watcher.
    static void Start(CAssembly* root, SpoolFileList* files);
    // Returns when the watcher has ended; it does so at once, or after the mesh that it is writing.
    static void Stop();
};

}  // namespace tessera
