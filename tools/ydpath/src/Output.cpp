// SPDX-License-Identifier: MIT

#include "Output.h"

#include <set>
#include <system_error>

#include <unistd.h>

namespace ydpath {

namespace fs = std::filesystem;

StagedOutput::StagedOutput(const fs::path& dir) : dir_(dir) {
    if (!fs::exists(dir_)) {
        fs::create_directories(dir_);
        createdDir_ = true;
    } else if (!fs::is_directory(dir_)) {
        throw fs::filesystem_error("output path exists and is not a folder", dir_,
                                   std::make_error_code(std::errc::not_a_directory));
    }
    staging_ = dir_ / (".ydpath-staging-" + std::to_string(static_cast<long>(::getpid())));
    std::error_code ec;
    fs::remove_all(staging_, ec);
    fs::create_directory(staging_);
}

StagedOutput::~StagedOutput() {
    std::error_code ec;
    fs::remove_all(staging_, ec);
    if (!committed_ && createdDir_) {
        fs::remove(dir_, ec);  // only succeeds when empty, which it is when nothing was moved
    }
}

fs::path StagedOutput::Stage(const std::string& relative) {
    const fs::path p = staging_ / relative;
    fs::create_directories(p.parent_path());
    return p;
}

void StagedOutput::Commit(const std::vector<std::string>& stale) {
    std::set<std::string> produced;
    std::vector<fs::path> entries;
    for (const fs::directory_entry& e : fs::directory_iterator(staging_)) {
        entries.push_back(e.path());
        produced.insert(e.path().filename().string());
    }
    // Folders cannot be renamed over non-empty folders: move the old one aside first.
    const fs::path old = staging_ / ".previous";
    for (const fs::path& src : entries) {
        const fs::path dst = dir_ / src.filename();
        if (fs::is_directory(src) && fs::exists(dst)) {
            fs::create_directories(old);
            fs::rename(dst, old / src.filename());
        }
        fs::rename(src, dst);
    }
    for (const std::string& name : stale) {
        if (produced.count(name) == 0) {
            std::error_code ec;
            fs::remove_all(dir_ / name, ec);
        }
    }
    committed_ = true;
}

}  // namespace ydpath
