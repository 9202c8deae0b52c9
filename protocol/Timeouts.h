#pragma once

#include <chrono>

/// How long either side waits for the other. Masters and plug-ins are built for these: a changed
/// one changes what they see.
namespace Orvane::Timeouts {

/// A master sends its handshake as soon as it has connected; whoever says nothing for so long is no
/// master.
constexpr int masterHandshakeSeconds = 5;
/// The plug-in connects while its host is still busy starting up.
constexpr int pluginHandshakeSeconds = 20;
/// A server that is there takes a connection at once; a computer that is off never answers.
constexpr int connectSeconds = 5;
/// A peer without power says nothing more. Its connection is given up about two minutes after its
/// last word; shorter would cost those who only lose their network for a moment.
constexpr int keepAliveIdleSeconds = 60;
constexpr int keepAlivePeriodSeconds = 10;
constexpr int keepAliveProbes = 6;  // ten on Windows, the system's number
/// For each byte of a command. Also how often the relay looks for images without being told, where
/// the system reports none: a picture may wait that long, and a look costs one listing of a folder.
constexpr int endRenderPollSeconds = 2;
/// A short message that is not taken in this time meets a peer that no longer reads.
constexpr int commandWriteSeconds = 10;
/// For each part of a file: a peer may stop to write its own disk, and the sender has read its own
/// part by then, so it waits longer than the receiver.
constexpr int fileSendSeconds = 60;
constexpr int fileReceiveSeconds = 45;

/// How often the wait for the plug-in looks at the rest of the job: whether the host still runs,
/// and whether its patience is over.
constexpr int pluginAcceptSeconds = 1;

/// A master waits about a second for answers to its ping.
constexpr std::chrono::milliseconds discoveryPoll{333};
/// For a master that does not close at the end of a job: it has had its images long before.
constexpr std::chrono::seconds lastDelivery{2};
/// A message that has begun must be complete after this time, or its connection is closed: one byte
/// every few seconds would otherwise hold a place at the door, or stall the relay, for ever.
constexpr std::chrono::seconds longestMessage{5};

}  // namespace Orvane::Timeouts
