// SPDX-License-Identifier: MIT

#pragma once

// All-or-nothing output: every file is first written under a staging folder inside the output
// folder and moved into place only when all of them were written, so a failed run leaves the
// output folder as it was (a folder it had to create is removed again).

#include <filesystem>
#include <string>
#include <vector>

namespace ydpath {

class StagedOutput {
  public:
    /// Creates `dir` if needed and a fresh staging folder inside it. Throws
    /// std::filesystem::filesystem_error when that is not possible.
    explicit StagedOutput(const std::filesystem::path& dir);
    ~StagedOutput();
    StagedOutput(const StagedOutput&) = delete;
    StagedOutput& operator=(const StagedOutput&) = delete;

    /// Where to write `relative` (e.g. "report.json", "curves/p001-e001-curve.txt") for now;
    /// its parent folders are created.
    std::filesystem::path Stage(const std::string& relative);

    /// Moves every staged top-level entry into the output folder, replacing what was there,
    /// and removes the entries named in `stale` that this run did not produce (output of an
    /// earlier run that would otherwise be mistaken for this one's).
    void Commit(const std::vector<std::string>& stale);

    const std::filesystem::path& dir() const { return dir_; }

  private:
    std::filesystem::path dir_;
    std::filesystem::path staging_;
    bool createdDir_ = false;
    bool committed_ = false;
};

}  // namespace ydpath
