#pragma once

#include <chrono>

/// How long either side waits for the other. Masters and plug-ins are built for these: a changed
/// one changes what they see.
namespace Orvane::Timeouts {

/// A master sends its handshake as soon as it has connected; who says nothing for so long is none.
constexpr int masterHandshakeSeconds = 5;
/// The plug-in connects while its host is still busy starting up.
constexpr int pluginHandshakeSeconds = 20;
/// For each byte of a command, and how often the relay looks for images without being told.
constexpr int endRenderPollSeconds = 2;
/// A short message that is not taken in this time meets a peer that no longer reads.
constexpr int commandWriteSeconds = 10;
/// For each part of a file: a peer may stop to write its own disk, and the sender has read its own
/// part by then, so it waits longer than the receiver.
constexpr int fileSendSeconds = 60;
constexpr int fileReceiveSeconds = 45;

/// How soon the wait for the plug-in notices that the host has ended.
constexpr int pluginAcceptSeconds = 1;

/// A master waits about a second for answers to its ping.
constexpr std::chrono::milliseconds discoveryPoll{333};
/// A file whose deletion is held up by another process is looked at, and written to the log, this
/// often.
constexpr std::chrono::milliseconds deletionPoll{200};
/// For a master that does not close at the end of a job: it has had its images long before.
constexpr std::chrono::seconds lastDelivery{2};
/// A message that has begun must be complete after this time, or its connection is closed: one byte
/// every few seconds would otherwise hold the only master slot, or stall the relay, for ever.
constexpr std::chrono::seconds longestMessage{5};

}  // namespace Orvane::Timeouts
