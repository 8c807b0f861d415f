#include "message.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <stdexcept>

namespace {

// Strings are quoted as in the Params text syntax; control bytes become \xNN so that one
// node always stays one log line.
void append_quoted(std::string& line, const std::string& text)
{
    line += '"';
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            line += '\\';
            line += c;
        } else if (byte < 0x20 || byte == 0x7f) {
            char escaped[5];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", byte);
            line += escaped;
        } else {
            line += c;
        }
    }
    line += '"';
}

void append_param(std::string& line, const std::string& key, const ParamValue& value)
{
    static constexpr char kTypeLetters[] = {'s', 'i', 'u', 'b'};
    line += ' ';
    line += key;
    line += ':';
    line += kTypeLetters[value.index()];
    line += '=';
    switch (value.index()) {
    case 0:
        append_quoted(line, std::get<std::string>(value));
        break;
    case 1:
        line += std::to_string(std::get<int32_t>(value));
        break;
    case 2:
        line += std::to_string(std::get<uint32_t>(value));
        break;
    default:
        line += std::get<bool>(value) ? "true" : "false";
        break;
    }
}

// One line per node, "name key:T=value ...", children two spaces further in.
void for_each_dump_line(const Message& node, unsigned int indent, const std::function<void(const std::string&)>& emit)
{
    std::string line(2 * indent, ' ');
    line += node.name;
    for (const auto& [key, value] : node.params().values())
        append_param(line, key, value);
    emit(line);
    for (std::size_t i = 0; i < node.child_count(); ++i)
        for_each_dump_line(node.child(i), indent + 1, emit);
}

} // namespace

Message::Message(const std::string& messageName, const Params& params)
    : name(messageName)
    , m_params(params)
{
}

Message::Message(const Message& other)
    : name(other.name)
    , m_params(other.m_params)
{
    m_children.reserve(other.m_children.size());
    for (const auto& child : other.m_children)
        m_children.push_back(std::make_unique<Message>(*child));
}

Message& Message::operator=(const Message& other)
{
    if (this != &other) {
        // Copy first: `other` may be one of our own descendants.
        Message copy(other);
        *this = std::move(copy);
    }
    return *this;
}

Message& Message::add_child(const std::string& childName)
{
    m_children.push_back(std::make_unique<Message>(childName));
    return *m_children.back();
}

Message& Message::add_child(const Message& child)
{
    auto copy = std::make_unique<Message>(child);
    m_children.push_back(std::move(copy));
    return *m_children.back();
}

Message& Message::get_child(const std::string& childName, unsigned int index)
{
    return const_cast<Message&>(static_cast<const Message&>(*this).get_child(childName, index));
}

const Message& Message::get_child(const std::string& childName, unsigned int index) const
{
    const Message* found = find_child(childName, index);
    if (!found)
        throw std::out_of_range("Message::get_child: no child '" + childName + "' at index " + std::to_string(index));
    return *found;
}

const Message* Message::find_child(const std::string& childName, unsigned int index) const
{
    for (const auto& child : m_children) {
        if (child->name == childName && index-- == 0)
            return child.get();
    }
    return nullptr;
}

unsigned int Message::num_children(const std::string& childName) const
{
    return static_cast<unsigned int>(std::count_if(m_children.begin(), m_children.end(),
                                                   [&](const auto& child) { return child->name == childName; }));
}

void Message::remove_children(const std::string& childName)
{
    m_children.erase(std::remove_if(m_children.begin(), m_children.end(),
                                    [&](const auto& child) { return child->name == childName; }),
                     m_children.end());
}

bool Message::operator==(const Message& other) const
{
    return name == other.name && m_params == other.m_params
        && std::equal(m_children.begin(), m_children.end(), other.m_children.begin(), other.m_children.end(),
                      [](const auto& left, const auto& right) { return *left == *right; });
}

void Message::_dump(LOG_LEVEL level, unsigned int category, unsigned int indent) const
{
    if (!g_log.enabled(category, level))
        return;
    for_each_dump_line(*this, indent,
                       [&](const std::string& line) { g_log.clog(category, level, "%s", line.c_str()); });
}

std::string Message::dump_text(unsigned int indent) const
{
    std::string text;
    for_each_dump_line(*this, indent, [&](const std::string& line) {
        text += line;
        text += '\n';
    });
    return text;
}
