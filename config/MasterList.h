#pragma once

#include <cstdint>
#include <vector>

#include "OrvaneCore/String.h"

namespace Orvane {

/// Which masters may come, by address. Everybody, until the first call of add() or restrict();
/// from then on those who are named, even if that is nobody.
class MasterList {
  public:
    /// Takes addresses (192.168.7.3) and networks (10.1.0.0/24), with blanks between them. False
    /// if there is none or one is neither; those that are good count all the same.
    [[nodiscard]] bool add(const String& entries);
    void restrict() { restricted = true; }

    bool isRestricted() const { return restricted; }
    /// `address` is dotted; other texts are nobody's.
    bool admits(const String& address) const;
    /// The entries, for people.
    String text() const;

  private:
    struct Network {
        std::uint32_t address;  ///< as a number, without the bits of its hosts
        unsigned int prefix;    ///< bits
        bool operator==(const Network& other) const = default;
    };

    bool addEntry(std::string_view entry);

    bool restricted = false;
    std::vector<Network> networks;
};

}  // namespace Orvane
