#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <thread>

#include "OrvaneCore/Exception.h"
#include "OrvaneCore/FileSystem.h"
#include "protocol/FileTransfer.h"
#include "protocol/Framing.h"
#include "protocol/Listener.h"
#include "protocol/Messages.h"
#include "tests/unit/StringPrinter.h"

using namespace Orvane;

namespace {

TEST(DrMessage, PrintsOneElementPerLine) {
    EXPECT_EQ(MasterWelcome::text(),
              String("<OrvaneDrRemote>\n\t<HandshakeResponse>ok</HandshakeResponse>\n"
                     "</OrvaneDrRemote>\n"));
    DrMessage message("Root");
    writeFrameInfo({"max2014", "a<b>&\"c' \x80", "1"}, message);
    const String text = message.print();
    EXPECT_EQ(text, String("<Root>\n\t<FrameName>1</FrameName>\n\t<HostVersion>max2014"
                           "</HostVersion>\n\t<CameraName>a&lt;b&gt;&amp;&quot;c&apos; \x80"
                           "</CameraName>\n</Root>\n"));
    FrameInfo info;
    info.frameName = "left over";
    EXPECT_TRUE(readFrameInfo(DrMessage::parse(text), info));
    EXPECT_EQ(info.cameraName, String("a<b>&\"c' \x80"));
    EXPECT_TRUE(readFrameInfo(
        DrMessage::parse("<r><CameraName>1</CameraName><CameraName>2</CameraName></r>"), info));
    EXPECT_EQ(info.cameraName + "," + info.frameName, String("1,"));
    EXPECT_FALSE(readFrameInfo(DrMessage::parse(""), info));
}

TEST(DrMessage, MessageHas) {
    const auto has = [](const std::string& text) { return messageHas(text, "r", "c", "v"); };
    for (const char* text :
         {"<r><c>v</c></r>", " \r\n<r>\n\t<c>v</c>\n</r>\n", "<r><b/><c>v</c></r>",
          "<r><c>v</c><c>w</c></r>", "<?xml version=\"1.0\"?><r><c>v</c></r>",
          "<r x='1'><c>&#118;</c></r>"})
        EXPECT_TRUE(has(text)) << text;
    for (const char* text :
         {"", "v", "<r><c>v</c>", "<r><c>v </c></r>", "<r><c> v</c></r>", "<r><c>V</c></r>",
          "<R><c>v</c></R>", "<r><C>v</C></r>", "<r><c></c></r>", "<r/>", "<r><c>v</c></r><r/>",
          "<q/><r><c>v</c></r>", "<r><c>w</c><c>v</c></r>", "<r><b><c>v</c></b></r>",
          "<r><c>vv</c></r>"})
        EXPECT_FALSE(has(text)) << text;
    EXPECT_TRUE(messageHas("<x><y>v</y></x>", "", "", "v"));
    EXPECT_FALSE(messageHas("<x><y>v</y></x>", "", "z", "v"));
    std::string nested;
    for (int i = 0; i < 8000; ++i)
        nested += "<a>";
    EXPECT_FALSE(messageHas(nested, "a", "a", ""));
}

/// Two ends of one connection over the loopback interface.
class Streams : public testing::Test {
  protected:
    void SetUp() override {
        std::unique_ptr<Listener> listener;
        unsigned short port = 20000;
        do
            listener = std::make_unique<Listener>(Listener::Reach::Loopback, ++port, patience);
        while (!listener->isOk());
        nearEnd = Connection::connect("127.0.0.1", port, patience);
        farEnd = listener->accept();
        ASSERT_TRUE(nearEnd != nullptr && farEnd != nullptr);
        nearEnd->setTimeout(patience);
        farEnd->setTimeout(patience);
    }

    void send(const std::string& bytes) {
        EXPECT_EQ(farEnd->write(bytes.data(), bytes.size()), bytes.size());
    }
    void sendFileHead(std::int64_t size) {
        EXPECT_EQ(farEnd->write(&size, sizeof(size)), sizeof(size));
    }
    std::string receive(std::size_t size) {
        std::string bytes(size, '\0');
        bytes.resize(farEnd->read(bytes.data(), size));
        return bytes;
    }

    static constexpr int patience = 20;
    std::unique_ptr<Connection> nearEnd, farEnd;
};

TEST_F(Streams, MessagesEndWithAZeroAndNothingBehindItIsRead) {
    send(std::string("one\0\0tw\x80\xE9\0rest", 14));
    for (const char* expected : {"one", "", "tw\x80\xE9"}) {
        const ReceivedMessage message = readMessage(*nearEnd, patience);
        EXPECT_TRUE(message.isWhole());
        EXPECT_EQ(message.text, String(expected));
    }
    char rest[4];
    EXPECT_EQ(nearEnd->read(rest, sizeof(rest)), sizeof(rest));
    EXPECT_EQ(std::string(rest, sizeof(rest)), "rest");
    EXPECT_EQ(writeMessage(*nearEnd, String(u"\u20AC\u4E2D"), patience), 0);
    EXPECT_EQ(writeMessage(*nearEnd, "", patience), 0);
    EXPECT_EQ(receive(4), std::string("\x80?\0\0", 4));

    using Outcome = ReceivedMessage::Outcome;
    send("half");
    ReceivedMessage message = readMessage(*nearEnd, 1);
    EXPECT_EQ(message.outcome, Outcome::Unfinished);
    EXPECT_EQ(message.text, String("half"));
    EXPECT_TRUE(nearEnd->isAlive());
    send(std::string(65536, 'x') + '\0');
    message = readMessage(*nearEnd, patience);
    EXPECT_TRUE(message.isWhole());
    EXPECT_EQ(message.text.length(), 65536);
    send("cut");
    farEnd->close();
    message = readMessage(*nearEnd, patience);
    EXPECT_EQ(message.outcome, Outcome::Unfinished);
    EXPECT_EQ(message.text, String("cut"));
    EXPECT_FALSE(nearEnd->isAlive());
    EXPECT_FALSE(readMessage(*nearEnd, patience).isWhole());
    EXPECT_EQ(writeMessage(*nearEnd, "text", patience), 1);
}

TEST_F(Streams, AnEndlessMessageIsRefused) {
    send(std::string(65537, 'x'));
    const ReceivedMessage message = readMessage(*nearEnd, patience);
    EXPECT_EQ(message.refusal(), String("it is longer than 64 KiB"));
    EXPECT_FALSE(nearEnd->isAlive());
}

std::string patternBytes(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>(i * 31 % 253);
    return bytes;
}

std::string fileBytes(const char* path) {
    std::ostringstream bytes;
    bytes << std::ifstream(path, std::ios::binary).rdbuf();
    return bytes.str();
}

TEST_F(Streams, FilesTravelWhole) {
    for (const std::size_t size : {0, 1, 65535, 65536, 65537, 3000000}) {
        const std::string bytes = patternBytes(size);
        std::ofstream("sent.bin", std::ios::binary) << bytes;
        int sent = -1;
        std::thread sender([&] { sent = sendFile(*farEnd, "sent.bin"); });
        EXPECT_EQ(receiveFile(*nearEnd, "received.bin"), 0);
        sender.join();
        EXPECT_EQ(sent, 0);
        EXPECT_TRUE(fileBytes("received.bin") == bytes) << size;
    }
    std::ofstream("sent.bin", std::ios::binary) << "abc";
    EXPECT_EQ(sendFile(*nearEnd, "sent.bin"), 0);
    EXPECT_EQ(receive(11), std::string("\3\0\0\0\0\0\0\0abc", 11));
    {
        const std::ofstream writer("sent.bin", std::ios::binary | std::ios::app);
        EXPECT_THROW((void)sendFile(*nearEnd, "sent.bin"), FileInUse);
    }
    EXPECT_THROW((void)sendFile(*nearEnd, "no such file"), Exception);
    EXPECT_THROW((void)receiveFile(*nearEnd, "no folder/file"), Exception);
}

TEST_F(Streams, AShortFileIsFilledUpToItsChunk) {
    // The last two break off where the receiver's buffer begins anew, and behind that.
    for (const auto& [announced, sent] :
         {std::pair{100000, 70000}, {1200000, 1048576}, {1200000, 1114122}}) {
        SetUp();
        const std::string bytes = patternBytes(static_cast<std::size_t>(sent));
        sendFileHead(announced);
        send(bytes);
        farEnd->close();
        EXPECT_EQ(receiveFile(*nearEnd, "received.bin"), 1);
        const int end = std::min((sent / 65536 + 1) * 65536, announced);
        const auto before = static_cast<std::size_t>(sent - 65536);
        EXPECT_TRUE(fileBytes("received.bin") ==
                    bytes + bytes.substr(before, static_cast<std::size_t>(end - sent)));
    }
    EXPECT_EQ(receiveFile(*nearEnd, "untouched.bin"), 1);
    EXPECT_EQ(sendFile(*nearEnd, "received.bin"), 1);
    EXPECT_EQ(FileSystem::fileSize("untouched.bin"), -1);
}

TEST_F(Streams, APeerThatWentFailsTheSendingAndNothingElse) {
    std::ofstream("sent.bin", std::ios::binary) << patternBytes(3000000);
    farEnd->close();
    EXPECT_EQ(sendFile(*nearEnd, "sent.bin"), 1);
    EXPECT_TRUE(nearEnd->isBroken());
}

TEST_F(Streams, OnlyZerosFillUpTheFirstChunk) {
    sendFileHead(1000);
    send("abc");
    farEnd->close();
    EXPECT_EQ(receiveFile(*nearEnd, "received.bin"), 1);
    EXPECT_TRUE(fileBytes("received.bin") == "abc" + std::string(997, '\0'));
}

TEST_F(Streams, ImpossibleSizesAreRefused) {
    sendFileHead(std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(receiveFile(*nearEnd, "received.bin"), 1);
    EXPECT_EQ(FileSystem::fileSize("received.bin"), 0);
    sendFileHead(std::numeric_limits<std::int64_t>::max());
    EXPECT_THROW((void)receiveFile(*nearEnd, "received.bin"), Exception);
    send("1234567");
    farEnd->close();
    EXPECT_EQ(receiveFile(*nearEnd, "received.bin"), 1);
}

}  // namespace
