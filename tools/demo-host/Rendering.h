#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace Orvane {

/// One POV-Ray process that renders one pass. One thread.
class Rendering {
  public:
    /// `output` appears, half written, in `folder`, which is also where POV-Ray is allowed to read
    /// and write. Throws std::runtime_error when there is no POV-Ray.
    Rendering(const std::filesystem::path& folder, const std::string& scene,
              const std::string& output, int frame, int pass);
    /// Ends one that still runs.
    ~Rendering();
    Rendering(const Rendering&) = delete;
    Rendering& operator=(const Rendering&) = delete;

    bool isRunning();
    /// Of a process that has ended.
    bool hasSucceeded() const;
    /// What POV-Ray said. Of a process that has ended.
    std::string messages() const;

  private:
    std::filesystem::path messageFile;
    pid_t process = 0;
    int status = 0;
    bool ended = false;
};

}  // namespace Orvane
