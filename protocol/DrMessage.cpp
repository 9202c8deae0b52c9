#include "protocol/DrMessage.h"

#include <algorithm>
#include <iterator>
#include <rapidxml/rapidxml.hpp>
// The printing functions call each other before they are declared; the parser comes first.
#include <rapidxml/rapidxml_print.hpp>

namespace Orvane {

namespace Tag {
const char* const remote = "OrvaneDrRemote";
const char* const local = "OrvaneDrLocal";
const char* const discovery = "OrvaneDrDiscovery";
const char* const command = "OrvaneDrCommand";
const char* const commandChild = "Command";
const char* const endRender = "EndRender";
const char* const dumpExr = "DumpExr";
}  // namespace Tag

struct DrMessage::Document {
    std::string text;  // parsed in place; the tree points into it
    rapidxml::xml_document<char> tree;

    char* keep(const std::string& value) {
        return tree.allocate_string(value.c_str(), value.size() + 1);
    }
    rapidxml::xml_node<char>* element(const std::string& name, const std::string& value) {
        return tree.allocate_node(rapidxml::node_element, keep(name), keep(value), name.size(),
                                  value.size());
    }
};

namespace {

const char* nameOrAny(const char* name) {
    return *name == '\0' ? nullptr : name;
}

String valueOf(const rapidxml::xml_node<char>& parent, const char* child) {
    const auto* found = parent.first_node(child);
    return found == nullptr ? String() : toWide({found->value(), found->value_size()});
}

}  // namespace

DrMessage::DrMessage() : document(new Document) {}
DrMessage::~DrMessage() = default;
DrMessage::DrMessage(DrMessage&&) noexcept = default;
DrMessage& DrMessage::operator=(DrMessage&&) noexcept = default;

DrMessage::DrMessage(const char* root) : DrMessage() {
    document->tree.append_node(document->element(root, {}));
}

DrMessage DrMessage::parse(const String& text) {
    DrMessage message;
    std::string& copy = message.document->text;
    copy = toAnsi(text);
    if (std::count(copy.begin(), copy.end(), '<') > mostOpenings)
        throw MalformedMessage("too many elements");
    try {
        message.document->tree.parse<0>(copy.data());
    } catch (const rapidxml::parse_error& error) {
        throw MalformedMessage(error.what());
    }
    return message;
}

void DrMessage::append(const char* child, const String& value) {
    document->tree.first_node()->append_node(document->element(child, toAnsi(value)));
}

bool DrMessage::isEmpty() const {
    return document->tree.first_node() == nullptr;
}

bool DrMessage::has(const char* root, const char* child, const String& value) const {
    const auto* first = document->tree.first_node();
    if (first == nullptr || first->next_sibling() != nullptr)
        return false;
    const auto* top = document->tree.first_node(nameOrAny(root));
    const auto* found = top == nullptr ? nullptr : top->first_node(nameOrAny(child));
    return found != nullptr && toWide({found->value(), found->value_size()}) == value;
}

String DrMessage::value(const char* child) const {
    const auto* root = document->tree.first_node();
    return root == nullptr ? String() : valueOf(*root, child);
}

String DrMessage::print() const {
    std::string text;
    // Its elements, not the document: printing that would end in an empty line.
    for (auto* node = document->tree.first_node(); node != nullptr; node = node->next_sibling())
        rapidxml::print(std::back_inserter(text), *node, 0);
    return String(text);
}

String buildMessage(const char* root, const char* child, const String& value) {
    DrMessage message(root);
    message.append(child, value);
    return message.print();
}

bool messageHas(const String& text, const char* root, const char* child, const String& value) {
    try {
        return DrMessage::parse(text).has(root, child, value);
    } catch (const MalformedMessage&) {
        return false;
    }
}

}  // namespace Orvane
