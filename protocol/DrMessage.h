#pragma once

#include <memory>
#include <stdexcept>
#include <string>

#include "OrvaneCore/String.h"

namespace Orvane {

/// Words of the protocol: roots say which conversation a message belongs to. Messages.h has the
/// messages that are made of them.
namespace Tag {
extern const char* const remote;        // master handshake
extern const char* const local;         // plug-in handshake
extern const char* const discovery;     // UDP
extern const char* const command;       // commands on both links
extern const char* const commandChild;  // the one child of a command
extern const char* const endRender;     // command: stop rendering
extern const char* const dumpExr;       // command: an OpenEXR file follows
}  // namespace Tag

/// A message with more "<" than this, wherever they stand, is not parsed. The parser is recursive,
/// and a few thousand nested elements overflow a worker's stack; a real message has at most twelve.
constexpr int mostOpenings = 256;

/// Thrown for a text that is not worth, or not safe, to parse.
class MalformedMessage : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The XML of one message: a root element whose children hold text. Not shared between threads.
class DrMessage {
  public:
    /// A message with an empty root.
    explicit DrMessage(const char* root);
    /// Throws MalformedMessage with the parser's description.
    static DrMessage parse(const String& text);
    ~DrMessage();
    DrMessage(DrMessage&&) noexcept;
    DrMessage& operator=(DrMessage&&) noexcept;

    void append(const char* child, const String& value);
    /// True without any element, which only a parsed text can be.
    bool isEmpty() const;
    /// True for exactly one top-level element, of name `root`, whose first `child` has exactly this
    /// value. Empty names stand for whatever comes first.
    bool has(const char* root, const char* child, const String& value) const;
    /// The text of the root's first child of this name; empty without one.
    String value(const char* child) const;
    /// One element per line, children indented by a tab, each line ended by a line feed.
    String print() const;

  private:
    struct Document;
    DrMessage();
    std::unique_ptr<Document> document;
};

/// The printed text of a message with one child.
String buildMessage(const char* root, const char* child, const String& value);
/// DrMessage::has on a text; false for one that does not parse.
bool messageHas(const String& text, const char* root, const char* child, const String& value);

}  // namespace Orvane
