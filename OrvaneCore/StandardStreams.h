#pragma once

namespace Orvane {

/// Opens the null device for standard streams that are closed, because whatever is opened next
/// would take their place: what is meant for a terminal would go into a socket. The first object of
/// a program; its end changes nothing.
class StandardStreams {
  public:
    StandardStreams();
};

}  // namespace Orvane
