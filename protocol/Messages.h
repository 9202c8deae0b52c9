#pragma once

#include <optional>

#include "protocol/DrMessage.h"

/// The messages of the protocol: each has its writer, text(), and its reader, read(), side by side.
/// A text is what writeMessage() and wireBytes() send; read() answers nothing (or false) for every
/// text that is not this message. Nothing here keeps state.
namespace Orvane {

/// What a job is about: which host release made the scene, which camera and which frames. The texts
/// are passed on as the master sent them.
struct FrameInfo {
    String hostVersion;
    String cameraName;
    String frameName;
};

/// Missing children leave their field empty. False only for a message without any element.
bool readFrameInfo(const DrMessage& message, FrameInfo& info);
/// Appends "FrameName", "HostVersion" and "CameraName", in this order.
void writeFrameInfo(const FrameInfo& info, DrMessage& message);

/// Master to server, UDP: who has this release?
struct DiscoveryRequest {
    std::int32_t year = 0;

    String text() const;
    /// A year that the server does not know is no request.
    [[nodiscard]] static std::optional<DiscoveryRequest> read(const String& text);
};

/// Server to master, UDP: this node has it.
struct DiscoveryReply {
    static String text();
    [[nodiscard]] static bool read(const String& text);
};

/// Master to server: the first message, with the job that is to follow.
struct MasterHandshake {
    FrameInfo job;

    String text() const;
    [[nodiscard]] static std::optional<MasterHandshake> read(const String& text);
};

/// Server to master: the scene may come.
struct MasterWelcome {
    static String text();
    [[nodiscard]] static bool read(const String& text);
};

/// Server to plug-in, which it greets: the job, and the folder for its images.
struct PluginJob {
    String dumpFolder;
    FrameInfo job;

    String text() const;
    [[nodiscard]] static std::optional<PluginJob> read(const String& text);
};

/// Plug-in to server: this is the plug-in.
struct PluginAnswer {
    static String text();
    [[nodiscard]] static bool read(const String& text);
};

/// Server to master: an OpenEXR file follows at once.
struct DumpExr {
    static String text();
    [[nodiscard]] static bool read(const String& text);
};

/// Master to server, and server to plug-in: stop rendering.
struct EndRender {
    static String text();
    [[nodiscard]] static bool read(const String& text);
};

}  // namespace Orvane
