// Files the pumex verbs write. Nothing a user already has is lost: the new
// contents go to a temporary file beside the target, are synced, and are
// renamed over the target only when complete. A target that is a folder, a
// device, a file the user may not write, or one of the verb's own inputs is
// refused before anything is touched.
#pragma once

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace tools {

// Checks that target may be written and is none of inputs (compared as files,
// not as names). Returns "" or a one-line message naming the target.
std::string checkOutputTarget(const std::string& target, const std::vector<std::string>& inputs);

// Writes target through write, which fills the open temporary file and returns
// "" or the reason it failed. Returns "" or a one-line message naming the
// target; on failure the target is as it was and no temporary file remains.
std::string writeOutputFile(const std::string& target, const std::function<std::string(FILE*)>& write);

// The same for contents already in memory.
std::string writeOutputFile(const std::string& target, const std::string& bytes);

}  // namespace tools
