#include "NodeTable.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <future>

#include "JobSession.h"

namespace Orvane {

namespace {

bool isFree(const std::string& address) {
    constexpr std::chrono::seconds patience{1};
    try {
        JobSession session(connectToServer(address), JobSession::noJob());
        return session.awaitAnswer(patience);
    } catch (const Failure&) {
        return false;
    }
}

}  // namespace

std::map<std::string, bool> findFree(const std::vector<std::string>& addresses) {
    std::map<std::string, std::future<bool>> answers;
    for (const std::string& address : addresses)
        answers[address] = std::async(std::launch::async, isFree, address);
    std::map<std::string, bool> free;
    for (auto& [address, answer] : answers)
        free[address] = answer.get();
    return free;
}

std::string nodeTableHead() {
    return "address          3ds Max                             ms  state";
}

std::string nodeTableLine(const std::string& address, const HostVersions& hosts,
                          const std::string& state) {
    std::string releases;
    auto quickest = std::chrono::milliseconds::max();
    for (const auto& [release, delay] : hosts) {
        releases += std::to_string(release) + ' ';
        quickest = std::min(quickest, delay);
    }
    std::array<char, 200> line{};
    std::snprintf(line.data(), line.size(), "%-15s  %-29s  %7lld  %s", address.c_str(),
                  releases.c_str(), static_cast<long long>(quickest.count()), state.c_str());
    return line.data();
}

}  // namespace Orvane
