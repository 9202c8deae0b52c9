#include "OutputFolder.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <regex>

#include "NativePath.h"
#include "OrvaneCore/Exception.h"
#include "Picture.h"
#include "TemporaryPath.h"
#include "protocol/FileTransfer.h"

namespace Orvane {

namespace fs = std::filesystem;

namespace {

constexpr const char* unfinishedEnding = ".part";

std::string shown(const fs::path& folder) {
    std::string text = printable(toAnsi(pathText(folder)));
    text.insert(text.begin(), '\'');
    return text.append("'");
}

fs::path made(const fs::path& folder) {
    std::error_code failed;
    fs::create_directories(folder, failed);
    if (!fs::is_directory(folder, failed))
        throw unwritableFolder(folder);
    return folder;
}

std::string imageName(const std::string& label, int number) {
    std::array<char, 32> digits{};
    std::snprintf(digits.data(), digits.size(), "-%04d.exr", number);
    return label + digits.data();
}

/// Such names are given by nobody but this program.
bool isOfARender(const std::string& name) {
    static const std::regex pattern(R"((image|node-.+)-\d{4,}\.exr|result\.(exr|png))");
    return std::regex_match(name, pattern);
}

bool isUnfinished(const std::string& name) {
    return name.starts_with(".dr-") && name.ends_with(unfinishedEnding);
}

/// Answers how many.
int removeFiles(const fs::path& folder, bool (*which)(const std::string& name)) {
    int removed = 0;
    for (const auto& entry : fs::directory_iterator(folder))
        if (which(toAnsi(pathText(entry.path().filename()))))
            removed += fs::remove(entry.path()) ? 1 : 0;
    return removed;
}

}  // namespace

const char* const lockName = ".dr-master.lock";

Failure folderInUse(const fs::path& folder) {
    return {ExitStatus::FolderInUse, "Another render writes into the folder " + shown(folder),
            "Wait for its end, or name another folder with --output."};
}

Failure unwritableFolder(const fs::path& folder) {
    return {ExitStatus::UnwritableFolder, "The folder " + shown(folder) + " cannot be written",
            "Free some space there, or name another one with --output."};
}

std::string fileLabel(const std::string& text) {
    constexpr std::size_t longest = 80;
    std::string label = text.substr(0, longest);
    const auto isHarmless = [](unsigned char c) {
        return std::isalnum(c) != 0 || c == '.' || c == '-' || c == '_';
    };
    std::replace_if(
        label.begin(), label.end(),
        [&](char c) { return !isHarmless(static_cast<unsigned char>(c)); }, '_');
    return label;
}

OutputFolder::OutputFolder(fs::path imageFolder, std::uint64_t mostKeptBytes)
    : folder(std::move(imageFolder)), mostBytes(mostKeptBytes), lock(made(folder)) {
    try {
        removeFiles(folder, isUnfinished);
        const TemporaryPath probe(unfinished("probe"));
        OutputFile(pathText(probe.path())).finish();
    } catch (const std::exception&) {
        throw unwritableFolder(folder);
    }
}

int OutputFolder::clean() {
    try {
        return removeFiles(folder, isOfARender);
    } catch (const fs::filesystem_error&) {
        throw unwritableFolder(folder);
    }
}

fs::path OutputFolder::unfinished(const std::string& use) const {
    return folder / (".dr-" + use + unfinishedEnding);
}

bool OutputFolder::has(const std::string& name) const {
    std::error_code ignored;
    return fs::exists(folder / name, ignored);
}

void OutputFolder::replace(const fs::path& from, const std::string& name) const {
    std::error_code failed;
    fs::rename(from, folder / name, failed);
    if (failed)
        throw Failure(ExitStatus::UnwritableFolder,
                      "'" + name + "' cannot be replaced: " + printable(failed.message()),
                      "Does another program have it open?");
}

std::string OutputFolder::keep(const fs::path& incoming, const std::string& label) {
    std::error_code failed;
    const std::uintmax_t bytes = fs::file_size(incoming, failed);
    const std::lock_guard guard(mutex);
    if (failed || keptBytes + bytes > mostBytes)
        return {};
    std::string name = imageName(label, numbers[label] + 1);
    replace(incoming, name);
    ++numbers[label];
    keptBytes += bytes;
    return name;
}

void OutputFolder::write(const Image& image, const std::string& stem, bool picture) {
    const TemporaryPath pixels(unfinished(stem + ".exr"));
    writeImage(image, pixels.path());
    replace(pixels.path(), stem + ".exr");
    if (!picture)
        return;
    const TemporaryPath shownPixels(unfinished(stem + ".png"));
    writePicture(image, pathText(shownPixels.path()));
    replace(shownPixels.path(), stem + ".png");
}

}  // namespace Orvane
