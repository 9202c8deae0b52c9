#include <gtest/gtest.h>

#include <condition_variable>
#include <deque>
#include <fstream>
#include <mutex>

#include "protocol/DatagramCalls.h"
#include "protocol/DatagramSocket.h"
#include "protocol/Messages.h"
#include "server/DiscoveryReplier.h"
#include "tests/unit/StringPrinter.h"

using namespace Orvane;

namespace {

/// What a system may answer to a receive, errors included that only Windows has.
class ScriptedCalls : public DatagramCalls {
  public:
    struct Turn {
        asio::error_code error;
        std::string bytes;
        std::string sender;
    };

    struct Script {
        std::deque<Turn> turns;
        std::vector<std::string> receivers;
        std::mutex lock;
        std::condition_variable ended;
    };

    explicit ScriptedCalls(Script& played) : script(played) {}

    bool isBound() const override { return true; }
    Endpoint localEndpoint() const override { return {}; }

    std::size_t receiveFrom(asio::mutable_buffer buffer, Endpoint& sender,
                            asio::error_code& error) override {
        const std::lock_guard hold(script.lock);
        error = asio::error::would_block;
        if (script.turns.empty()) {
            script.ended.notify_all();
            return 0;
        }
        const Turn turn = script.turns.front();
        script.turns.pop_front();
        error = turn.error;
        if (!turn.sender.empty())
            sender = {asio::ip::make_address(turn.sender), 1024};
        return asio::buffer_copy(buffer, asio::buffer(turn.bytes));
    }

    void sendTo(asio::const_buffer, const Endpoint& receiver) override {
        const std::lock_guard hold(script.lock);
        script.receivers.push_back(receiver.address().to_string());
    }

  private:
    Script& script;
};

ScriptedCalls::Script discovery;

void play(std::deque<ScriptedCalls::Turn> turns) {
    std::ofstream("DrConfig-for-discovery.txt") << "2014 /host\n";
    DrLog log;
    DrConfig config;
    config.load("DrConfig-for-discovery.txt", log);
    discovery.receivers.clear();
    discovery.turns = std::move(turns);
    const DiscoveryReplier replier(log, config, [] {
        return std::make_unique<DatagramSocket>(std::make_unique<ScriptedCalls>(discovery));
    });
    std::unique_lock hold(discovery.lock);
    discovery.ended.wait(hold, [] { return discovery.turns.empty(); });
}

TEST(Discovery, AnErrorCostsOneDatagramAndNobodyElseHisAnswer) {
    const std::string ping = toAnsi(DiscoveryRequest{2014}.text());
    std::deque<ScriptedCalls::Turn> turns;
    const auto add = [&](asio::error_code error, const std::string& bytes, const char* sender) {
        turns.push_back({error, bytes, sender});
    };
    add({}, ping, "10.0.0.1");
    for (int i = 0; i < 600; ++i)  // more than one turn of the loop takes
        add(asio::error::connection_reset, "", "10.0.0.9");
    add(asio::error::network_reset, "", "");
    add({}, ping, "10.0.0.2");
    add(asio::error::message_size, ping + std::string(200, ' '), "10.0.0.3");
    add(asio::error::no_buffer_space, ping, "10.0.0.9");
    add(asio::error::message_size, std::string(255, 'x'), "10.0.0.9");
    add({}, "", "10.0.0.9");
    add(asio::error::connection_refused, "", "10.0.0.9");
    add({}, ping, "10.0.0.4");
    play(turns);
    std::vector<std::string> expected;
    for (const char* receiver : {"10.0.0.1", "10.0.0.2", "10.0.0.3", "10.0.0.4"})
        expected.insert(expected.end(), 4, receiver);
    EXPECT_EQ(discovery.receivers, expected);
}

TEST(DatagramSocket, NobodyIsAnsweredAfterAnError) {
    ScriptedCalls::Script script;
    script.turns = {{{}, "text", "10.0.0.1"}, {asio::error::connection_reset, "", "10.0.0.2"}};
    DatagramSocket socket(std::make_unique<ScriptedCalls>(script));
    std::array<char, 4> buffer{};
    EXPECT_EQ(socket.receive(buffer.data(), buffer.size()), DatagramSocket::Arrival::Datagram);
    EXPECT_EQ(socket.senderAddress(), String("10.0.0.1"));
    EXPECT_EQ(socket.receive(buffer.data(), buffer.size()), DatagramSocket::Arrival::Error);
    socket.reply("x", 1);
    EXPECT_EQ(socket.receive(buffer.data(), buffer.size()), DatagramSocket::Arrival::Nothing);
    socket.reply("x", 1);
    EXPECT_EQ(socket.senderAddress(), String());
    EXPECT_TRUE(script.receivers.empty());
}

}  // namespace
