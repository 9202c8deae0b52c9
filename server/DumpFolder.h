#pragma once

#include <atomic>
#include <map>
#include <string>
#include <vector>

#include "OrvaneCore/DrLog.h"
#include "OrvaneCore/FileSystem.h"
#include "OrvaneCore/Stopwatch.h"
#include "config/DrConfig.h"

namespace Orvane {

/// The images that the plug-in leaves in the data folder: files "dump*.exr", matched
/// case-sensitively at the end. Lives as long as the server, because an image that has been sent
/// and that somebody keeps from being deleted must not be sent again. Used by the master thread.
class DumpFolder {
  public:
    /// All must outlive the folder. Nothing is waited for once `stopFlag` is set.
    DumpFolder(const DrConfig& settings, DrLog& target, const std::atomic<bool>& stopFlag)
        : config(settings), log(target), stopRequested(stopFlag) {}

    /// The paths of all that are there now and not set aside, in the folder's own order.
    std::vector<String> list();

    /// Deletes an image, which may no longer be the one that has its name. One that another program
    /// keeps is tried for some seconds and then set aside: it is no image any more, and is deleted
    /// with one of the next removeAll().
    void remove(const String& path, const FileSystem::Identity& image);

    /// Deletes all, those included that come meanwhile. Those that cannot go are tried for some
    /// seconds in all.
    void removeAll();

  private:
    using SetAside = std::map<std::u16string, FileSystem::Identity>;

    bool isSetAside(const String& path);
    void retrySetAside();
    /// Not tried again once `watch` says that it has taken long enough.
    void remove(const String& path, const FileSystem::Identity& image, const Stopwatch& watch);
    bool removePass(const Stopwatch& watch);

    const DrConfig& config;
    DrLog& log;
    const std::atomic<bool>& stopRequested;
    SetAside setAside;  // by path
};

}  // namespace Orvane
