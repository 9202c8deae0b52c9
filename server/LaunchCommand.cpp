#include "server/LaunchCommand.h"

#include <algorithm>

#include "OrvaneCore/CommandInterpreter.h"
#include "OrvaneCore/Str.h"

namespace Orvane {

const char* const launchEcho = "Starting 3ds max DR...";

namespace {

bool isFrameCharacter(char16_t unit) {
    constexpr std::u16string_view punctuation = u",-.:+_";
    return (unit >= u'0' && unit <= u'9') || (unit >= u'A' && unit <= u'Z') ||
           (unit >= u'a' && unit <= u'z') || punctuation.find(unit) != punctuation.npos;
}

bool isCameraCharacter(char16_t unit) {
    const bool control = unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
    return !control && specialWithinQuotes.find(unit) == specialWithinQuotes.npos;
}

String programIn(const String& folder) {
    const bool ends = Str::endsWith(folder, u"/") || Str::endsWith(folder, u"\\");
    return folder + (ends ? "" : "/") + "3dsmaxcmd.exe";
}

String quoted(const String& path) {
    return String("\"") + withinQuotes(path) + "\"";
}

}  // namespace

String refusalOf(const FrameInfo& frameInfo) {
    const std::u16string_view frames = frameInfo.frameName.view();
    if (!std::all_of(frames.begin(), frames.end(), isFrameCharacter))
        return "FrameName may hold only letters, digits and , - . : + _";
    const std::u16string_view camera = frameInfo.cameraName.view();
    if (!std::all_of(camera.begin(), camera.end(), isCameraCharacter))
        return String("CameraName may hold no control characters and none of ") +
               String(specialWithinQuotes);
    return {};
}

String launchCommand(const String& hostFolder, const String& scenePath, const DrConfig& config,
                     const FrameInfo& frameInfo, const String& outputPath) {
    String line = String("echo ") + launchEcho + " && " + quoted(programIn(hostFolder)) + " ";
    line += quoted(scenePath) + " -o:" + quoted(config.dataFolder + "/dr_out.png");
    line += String(" -frames:") + frameInfo.frameName;
    line += " -continueOnError -gammaCorrection:1 -rfw:1 -sf -v:5 ";
    if (!frameInfo.cameraName.isEmpty())
        line += String(" -camera: \"") + frameInfo.cameraName + "\" ";
    line += " >> ";
    line += quoted(outputPath.isEmpty() ? config.dataFolder + "/MaxLog.txt" : outputPath);
    return line;
}

bool fitsInterpreter(const String& line) {
    constexpr std::size_t spare = 16;
    return toAnsi(line).size() + spare <= mostCommandCharacters;
}

}  // namespace Orvane
