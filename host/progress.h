#pragma once

#include <chrono>
#include <string>

namespace tessera::host {

// A bar on standard error for work that lasts longer than half a second. It stays silent where standard error is no
// terminal, and it clears its line when the work ends.
class Progress {
public:
    // `enabled` false keeps it silent everywhere.
    explicit Progress(bool enabled);
    ~Progress() { Clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // `fraction` of the work named `label` is done, 0 to 1; below 0 it is not known.
    void Show(const std::string& label, double fraction);
    void Clear();

private:
    bool enabled_;
    bool drawn_ = false;
    std::chrono::steady_clock::time_point started_;
    std::chrono::steady_clock::time_point last_;
};

}  // namespace tessera::host
