#include "OutputFolder.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <regex>
#include <sstream>

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

fs::path created(const fs::path& folder) {
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

constexpr const char* resultName = "result.exr";
constexpr const char* pictureName = "result.png";

/// Others may give such names too.
bool isNameOfAStill(const std::string& name) {
    static const std::regex pattern(R"((image|node-.+)-\d{4,}\.exr|result\.(exr|png))",
                                    std::regex::icase);
    return std::regex_match(name, pattern);
}

bool isUnfinished(const std::string& name) {
    return name.starts_with(".dr-") && name.ends_with(unfinishedEnding);
}

std::string nameOf(const fs::directory_entry& entry) {
    return toAnsi(pathText(entry.path().filename()));
}

void removeUnfinished(const fs::path& folder) {
    for (const auto& entry : fs::directory_iterator(folder))
        if (isUnfinished(nameOf(entry)))
            fs::remove(entry.path());
}

void addNames(const std::string& lines, std::set<std::string>& names) {
    std::istringstream stream(lines);
    for (std::string name; std::getline(stream, name);)
        if (isNameOfAStill(name) && name.find_first_of("/\\:") == std::string::npos)
            names.insert(name);
}

std::string linesOf(const std::set<std::string>& names) {
    std::string lines;
    for (const std::string& name : names)
        lines.append(name).append("\n");
    return lines;
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
    : folder(std::move(imageFolder)), mostBytes(mostKeptBytes), lock(created(folder)) {
    try {
        removeUnfinished(folder);
        const TemporaryPath probe(unfinished("probe"));
        OutputFile(pathText(probe.path())).finish();
    } catch (const std::exception&) {
        throw unwritableFolder(folder);
    }
    addNames(lock.text(), made);
    isNoted = made.empty();
    addNames(notedFiles(folder / resultName), made);
}

OutputFolder::~OutputFolder() {
    if (!isNoted)
        lock.leaveFile();
}

void OutputFolder::refuseOthers() const {
    for (const auto& entry : fs::directory_iterator(folder)) {
        const std::string name = nameOf(entry);
        if (isNameOfAStill(name) && !made.contains(name))
            throw Failure(ExitStatus::UnwritableFolder,
                          "'" + printable(name) + "' in the folder " + shown(folder) +
                              " is not known to be of an earlier render",
                          "Move such files away, or name another folder with --output.");
    }
}

int OutputFolder::clean() {
    const std::lock_guard guard(mutex);
    const auto remove = [this](const std::string& name) {
        return fs::remove(folder / name) ? 1 : 0;
    };
    try {
        int removed = 0;
        for (const std::string& name : made)
            removed += name != resultName ? remove(name) : 0;
        // Last: it says what the others are.
        removed += made.contains(resultName) ? remove(resultName) : 0;
        made.clear();
        isNoted = lock.clear();
        return removed;
    } catch (const fs::filesystem_error&) {
        throw unwritableFolder(folder);
    }
}

void OutputFolder::claim(const std::string& name) {
    if (made.contains(name))
        return;
    isNoted = false;
    if (!lock.append(name + "\n"))
        throw unwritableFolder(folder);
    made.insert(name);
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
    claim(name);
    replace(incoming, name);
    ++numbers[label];
    keptBytes += bytes;
    return name;
}

void OutputFolder::write(const Image& image, const std::string& name, const std::string& files) {
    const TemporaryPath pixels(unfinished(name));
    writeImage(image, pixels.path(), files);
    replace(pixels.path(), name);
}

void OutputFolder::writeFrame(const Image& image, const std::string& name) {
    write(image, name, {});
}

void OutputFolder::writeResult(const Image& image) {
    std::set<std::string> noted;
    {
        const std::lock_guard guard(mutex);
        claim(resultName);
        claim(pictureName);
        noted = made;
    }
    write(image, resultName, linesOf(noted));
    const TemporaryPath shownPixels(unfinished(pictureName));
    writePicture(image, pathText(shownPixels.path()));
    replace(shownPixels.path(), pictureName);
    const std::lock_guard guard(mutex);
    isNoted = noted == made;
}

}  // namespace Orvane
