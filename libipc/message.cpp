#include "message.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <stdexcept>

namespace {

// Below this many children a scan costs less than building and keeping an index: most
// messages are small and are read once.
constexpr std::size_t kIndexedFrom = 16;

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

Message::Message(Message&& other) noexcept
    : name(std::move(other.name))
    , m_params(std::move(other.m_params))
    , m_children(std::move(other.m_children))
    , m_index(std::move(other.m_index))
    , m_exposed(std::move(other.m_exposed))
{
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

Message& Message::operator=(Message&& other) noexcept
{
    if (this != &other) {
        name = std::move(other.name);
        m_params = std::move(other.m_params);
        m_children = std::move(other.m_children);
        m_index = std::move(other.m_index);
        m_exposed = std::move(other.m_exposed);
        other.m_children.clear();
        other.m_exposed.clear();
    }
    return *this;
}

Message& Message::add_child(const std::string& childName)
{
    return adopt(std::make_unique<Message>(childName));
}

Message& Message::add_child(const Message& child)
{
    return adopt(std::make_unique<Message>(child));
}

Message& Message::adopt(std::unique_ptr<Message> child)
{
    m_children.push_back(std::move(child));
    const auto position = static_cast<uint32_t>(m_children.size() - 1);
    if (m_index)
        (*m_index)[m_children.back()->name].push_back(position);
    return exposed(position);
}

Message& Message::exposed(std::size_t position)
{
    if (m_index)
        m_exposed.emplace_back(static_cast<uint32_t>(position), m_children[position]->name);
    return *m_children[position];
}

const std::vector<uint32_t>* Message::positions_of(const std::string& childName) const
{
    if (m_index) {
        for (const auto& [position, nameThen] : m_exposed) {
            if (position >= m_children.size() || m_children[position]->name != nameThen) {
                m_index.reset();
                break;
            }
        }
    }
    m_exposed.clear();
    if (!m_index) {
        m_index = std::make_unique<ChildIndex>();
        for (std::size_t position = 0; position < m_children.size(); ++position)
            (*m_index)[m_children[position]->name].push_back(static_cast<uint32_t>(position));
    }
    const auto found = m_index->find(childName);
    return found == m_index->end() ? nullptr : &found->second;
}

Message& Message::get_child(const std::string& childName, unsigned int index)
{
    const Message& found = static_cast<const Message&>(*this).get_child(childName, index);
    if (m_children.size() < kIndexedFrom)
        return const_cast<Message&>(found);
    // The const lookup above left the index checked and current.
    return exposed((*m_index)[childName][index]);
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
    if (m_children.size() < kIndexedFrom) {
        for (const auto& child : m_children) {
            if (child->name == childName && index-- == 0)
                return child.get();
        }
        return nullptr;
    }
    const std::vector<uint32_t>* positions = positions_of(childName);
    if (!positions || index >= positions->size())
        return nullptr;
    return m_children[(*positions)[index]].get();
}

unsigned int Message::num_children(const std::string& childName) const
{
    if (m_children.size() < kIndexedFrom) {
        return static_cast<unsigned int>(std::count_if(m_children.begin(), m_children.end(),
                                                       [&](const auto& child) { return child->name == childName; }));
    }
    const std::vector<uint32_t>* positions = positions_of(childName);
    return positions ? static_cast<unsigned int>(positions->size()) : 0u;
}

void Message::remove_children(const std::string& childName)
{
    m_children.erase(std::remove_if(m_children.begin(), m_children.end(),
                                    [&](const auto& child) { return child->name == childName; }),
                     m_children.end());
    m_index.reset();
    m_exposed.clear();
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
