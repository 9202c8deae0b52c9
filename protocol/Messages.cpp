#include "protocol/Messages.h"

#include "OrvaneCore/HostReleases.h"

namespace Orvane {

namespace {

// Children and values; the roots are Tag's.
const char* const frameName = "FrameName";
const char* const hostVersion = "HostVersion";
const char* const cameraName = "CameraName";
const char* const request = "Request";
const char* const reply = "Reply";
const char* const handshakeInit = "HandshakeInit";
const char* const init = "init";
const char* const handshakeResponse = "HandshakeResponse";
const char* const dumpFilename = "DumpFilename";
const char* const ok = "ok";

std::optional<DrMessage> parsed(const String& text) {
    try {
        return DrMessage::parse(text);
    } catch (const MalformedMessage&) {
        return std::nullopt;
    }
}

/// The message if it has this child, whose value says what it is.
std::optional<DrMessage> parsed(const String& text, const char* root, const char* child,
                                const char* value) {
    auto message = parsed(text);
    if (message && !message->has(root, child, value))
        message.reset();
    return message;
}

}  // namespace

bool readFrameInfo(const DrMessage& message, FrameInfo& info) {
    info = {message.value(hostVersion), message.value(cameraName), message.value(frameName)};
    return !message.isEmpty();
}

void writeFrameInfo(const FrameInfo& info, DrMessage& message) {
    message.append(frameName, info.frameName);
    message.append(hostVersion, info.hostVersion);
    message.append(cameraName, info.cameraName);
}

String DiscoveryRequest::text() const {
    return buildMessage(Tag::discovery, request, hostYearText(year));
}

std::optional<DiscoveryRequest> DiscoveryRequest::read(const String& text) {
    const auto message = parsed(text);
    for (std::int32_t year = firstHostYear; message && year <= lastHostYear; ++year) {
        if (message->has(Tag::discovery, request, hostYearText(year)))
            return DiscoveryRequest{year};
    }
    return std::nullopt;
}

String DiscoveryReply::text() {
    return buildMessage(Tag::discovery, reply, ok);
}

bool DiscoveryReply::read(const String& text) {
    return messageHas(text, Tag::discovery, reply, ok);
}

String MasterHandshake::text() const {
    DrMessage message(Tag::remote);
    message.append(handshakeInit, init);
    writeFrameInfo(job, message);
    return message.print();
}

std::optional<MasterHandshake> MasterHandshake::read(const String& text) {
    const auto message = parsed(text, Tag::remote, handshakeInit, init);
    MasterHandshake handshake;
    if (!message || !readFrameInfo(*message, handshake.job))
        return std::nullopt;
    return handshake;
}

String MasterWelcome::text() {
    return buildMessage(Tag::remote, handshakeResponse, ok);
}

bool MasterWelcome::read(const String& text) {
    return messageHas(text, Tag::remote, handshakeResponse, ok);
}

String PluginJob::text() const {
    DrMessage message(Tag::local);
    message.append(handshakeResponse, ok);
    message.append(dumpFilename, dumpFolder);
    writeFrameInfo(job, message);
    return message.print();
}

std::optional<PluginJob> PluginJob::read(const String& text) {
    const auto message = parsed(text, Tag::local, handshakeResponse, ok);
    if (!message)
        return std::nullopt;
    PluginJob told;
    told.dumpFolder = message->value(dumpFilename);
    readFrameInfo(*message, told.job);
    return told;
}

String PluginAnswer::text() {
    return buildMessage(Tag::local, handshakeInit, init);
}

bool PluginAnswer::read(const String& text) {
    return messageHas(text, Tag::local, handshakeInit, init);
}

String DumpExr::text() {
    return buildMessage(Tag::command, Tag::commandChild, Tag::dumpExr);
}

bool DumpExr::read(const String& text) {
    return messageHas(text, Tag::command, Tag::commandChild, Tag::dumpExr);
}

String EndRender::text() {
    return buildMessage(Tag::command, Tag::commandChild, Tag::endRender);
}

bool EndRender::read(const String& text) {
    return messageHas(text, Tag::command, Tag::commandChild, Tag::endRender);
}

}  // namespace Orvane
