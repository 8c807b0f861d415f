// Layout of the "compact" encoding (CBOR, RFC 8949). A message is an array of six items:
//
//   [ name, strings, ints, uints, bools, children ]
//
//   name      text string
//   strings   map: key -> text string
//   ints      map: key -> integer in the int32 range
//   uints     map: key -> unsigned integer up to 2^32 - 1
//   bools     map: key -> true / false
//   children  array of messages of the same shape, in order
//
// The four parameter maps come in ParamValue's type order, so an int keeps its type even when it
// is not negative. A key appears in one map at most. Names, keys and string values that are not
// valid UTF-8 are written as byte strings instead of text strings; either is accepted.
// Only definite lengths are written or accepted: no indefinite items, tags, floats or null.
//
// Both sides work on the bytes in place, one item head at a time: the writer appends to one
// string, the reader takes names, keys and texts as views of the frame.
#include "compactcodec.h"

#include "codec.h"
#include "utf8.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <limits>
#include <string_view>
#include <vector>

namespace ipc::compact {

namespace {

constexpr uint64_t kMessageItems = 6;
constexpr unsigned int kParamTypes = std::variant_size_v<ParamValue>;

// CBOR major types and the simple values used here.
enum Major : unsigned char {
    kUnsigned = 0,
    kNegative = 1,
    kBytes = 2,
    kText = 3,
    kArray = 4,
    kMap = 5,
    kTag = 6,
    kSimple = 7
};
constexpr unsigned char kFalse = 20;
constexpr unsigned char kTrue = 21;
// Additional information: a count in the next 1, 2, 4 or 8 bytes, or indefinite.
constexpr unsigned char kOneByte = 24;
constexpr unsigned char kIndefinite = 31;

bool any_code_point(char32_t)
{
    return true;
}

// Eight bytes at a time: most names, keys and values are short ASCII.
bool is_ascii(std::string_view text)
{
    constexpr uint64_t kHighBits = 0x8080808080808080u;
    uint64_t high = 0;
    std::size_t i = 0;
    for (; i + 8 <= text.size(); i += 8) {
        uint64_t word;
        std::memcpy(&word, text.data() + i, sizeof word);
        high |= word;
    }
    for (; i < text.size(); ++i)
        high |= static_cast<unsigned char>(text[i]);
    return (high & kHighBits) == 0;
}

// Appends to one buffer that grows by doubling, without a library call per byte.
class Writer {
public:
    Writer() : m_out(kFirstCapacity, '\0') {}

    // The head of an item: major type and the shortest form of `value`.
    void head(Major major, uint64_t value)
    {
        char* out = room(9);
        const auto type = static_cast<unsigned char>(major << 5);
        if (value < kOneByte) {
            out[0] = static_cast<char>(type | value);
            m_used += 1;
            return;
        }
        const unsigned int bytes = value <= 0xff ? 1 : value <= 0xffff ? 2 : value <= 0xffffffffu ? 4 : 8;
        const unsigned char lengthCode = bytes == 1 ? 24 : bytes == 2 ? 25 : bytes == 4 ? 26 : 27;
        out[0] = static_cast<char>(type | lengthCode);
        for (unsigned int i = 0; i < bytes; ++i)
            out[1 + i] = static_cast<char>(value >> (8 * (bytes - 1 - i)));
        m_used += 1 + bytes;
    }

    void string(const std::string& text)
    {
        const bool utf8 = is_ascii(text) || utf8_all_of(text, any_code_point);
        head(utf8 ? kText : kBytes, text.size());
        std::memcpy(room(text.size()), text.data(), text.size());
        m_used += text.size();
    }

    void value(const ParamValue& value)
    {
        switch (value.index()) {
        case 0:
            string(std::get<std::string>(value));
            break;
        case 1: {
            const int64_t number = std::get<int32_t>(value);
            if (number >= 0)
                head(kUnsigned, static_cast<uint64_t>(number));
            else
                head(kNegative, static_cast<uint64_t>(-1 - number));
            break;
        }
        case 2:
            head(kUnsigned, std::get<uint32_t>(value));
            break;
        default:
            *room(1) = static_cast<char>(kSimple << 5 | (std::get<bool>(value) ? kTrue : kFalse));
            m_used += 1;
            break;
        }
    }

    std::string take()
    {
        m_out.resize(m_used);
        return std::move(m_out);
    }

private:
    static constexpr std::size_t kFirstCapacity = 256;

    // Where the next `bytes` go.
    char* room(std::size_t bytes)
    {
        if (m_out.size() - m_used < bytes)
            m_out.resize(std::max(2 * m_out.size(), m_used + bytes));
        return &m_out[m_used];
    }

    std::string m_out;
    std::size_t m_used = 0;
};

// The name, the parameters and the head of the children array.
void write_head(Writer& writer, const Message& message, std::size_t childCount)
{
    writer.head(kArray, kMessageItems);
    writer.string(message.name);
    const Params::Entries& values = message.params().values();
    std::size_t counts[kParamTypes] = {};
    for (const auto& entry : values)
        ++counts[entry.second.index()];
    for (std::size_t type = 0; type < kParamTypes; ++type) {
        writer.head(kMap, counts[type]);
        if (counts[type] == 0)
            continue;
        for (const auto& [key, value] : values) {
            if (value.index() != type)
                continue;
            writer.string(key);
            writer.value(value);
        }
    }
    writer.head(kArray, childCount);
}

void write_message(Writer& writer, const Message& message)
{
    write_head(writer, message, message.child_count());
    for (std::size_t i = 0; i < message.child_count(); ++i)
        write_message(writer, message.child(i));
}

// One CBOR item head, read in place.
struct Item {
    enum class Kind { Unsupported, Unsigned, Negative, String, Array, Map, Bool };
    Kind kind = Kind::Unsupported;
    uint64_t number = 0; // the value; -1 - value for Negative; the count for Array and Map
    std::string_view text;
    bool flag = false;
};

enum class ReadStatus { Done, Truncated, Malformed };

// Reads the item at `data[position]` and moves `position` past it. Strings come whole; the
// items this encoding never writes (tags, floats, null, indefinite lengths) read as Unsupported.
ReadStatus read_item(const unsigned char* data, std::size_t size, std::size_t& position, Item& item)
{
    const unsigned char initial = data[position];
    const auto major = static_cast<Major>(initial >> 5);
    const unsigned char info = initial & 0x1f;
    std::size_t at = position + 1;
    uint64_t value = info;
    if (info >= kOneByte && info < kOneByte + 4) {
        const std::size_t bytes = std::size_t{1} << (info - kOneByte);
        if (size - at < bytes)
            return ReadStatus::Truncated;
        value = 0;
        for (std::size_t i = 0; i < bytes; ++i)
            value = value << 8 | data[at + i];
        at += bytes;
    } else if (info > kOneByte + 3 && info != kIndefinite) {
        return ReadStatus::Malformed;
    }
    const bool indefinite = info == kIndefinite;
    item = {};
    switch (major) {
    case kUnsigned:
    case kNegative:
        if (indefinite)
            return ReadStatus::Malformed;
        item.kind = major == kUnsigned ? Item::Kind::Unsigned : Item::Kind::Negative;
        item.number = value;
        break;
    case kBytes:
    case kText:
        if (!indefinite) {
            if (size - at < value)
                return ReadStatus::Truncated;
            item.kind = Item::Kind::String;
            item.text = std::string_view(reinterpret_cast<const char*>(data + at), static_cast<std::size_t>(value));
            at += static_cast<std::size_t>(value);
        }
        break;
    case kArray:
    case kMap:
        if (!indefinite) {
            item.kind = major == kArray ? Item::Kind::Array : Item::Kind::Map;
            item.number = value;
        }
        break;
    case kTag:
        if (indefinite)
            return ReadStatus::Malformed;
        break;
    case kSimple:
        if (info == kFalse || info == kTrue) {
            item.kind = Item::Kind::Bool;
            item.flag = info == kTrue;
        } else if (info < kFalse || info == kOneByte) {
            return ReadStatus::Malformed;
        }
        break;
    }
    position = at;
    return ReadStatus::Done;
}

// Whether `item` can be the value of a parameter of ParamValue index `type`.
bool fits(std::size_t type, const Item& item)
{
    constexpr uint64_t kInt32Max = std::numeric_limits<int32_t>::max();
    switch (type) {
    case 0:
        return item.kind == Item::Kind::String;
    case 1:
        return (item.kind == Item::Kind::Unsigned || item.kind == Item::Kind::Negative) && item.number <= kInt32Max;
    case 2:
        return item.kind == Item::Kind::Unsigned && item.number <= std::numeric_limits<uint32_t>::max();
    default:
        return item.kind == Item::Kind::Bool;
    }
}

// Appends the parameter, built in place from a value that fits its type.
void append_param(Params::Entries& entries, std::string_view key, std::size_t type, const Item& item)
{
    const auto put = [&](auto in_place, auto value) {
        entries.emplace_back(std::piecewise_construct, std::forward_as_tuple(key), std::forward_as_tuple(in_place, value));
    };
    switch (type) {
    case 0:
        put(std::in_place_index<0>, item.text);
        break;
    case 1:
        put(std::in_place_index<1>, static_cast<int32_t>(item.kind == Item::Kind::Negative
                                                            ? -1 - static_cast<int64_t>(item.number)
                                                            : static_cast<int64_t>(item.number)));
        break;
    case 2:
        put(std::in_place_index<2>, static_cast<uint32_t>(item.number));
        break;
    default:
        put(std::in_place_index<3>, item.flag);
        break;
    }
}

// Reads one message after the other, depth first; the messages whose children are still to
// come wait on a stack of their own, so nesting costs heap within Limits, never call-stack depth.
class Decoder {
public:
    Decoder(const char* data, std::size_t size)
        : m_data(reinterpret_cast<const unsigned char*>(data))
        , m_size(size)
    {
    }

    bool run(Message& root, std::string& error)
    {
        if (!read_tree(root)) {
            error = "compact: " + m_error;
            return false;
        }
        if (m_position != m_size) {
            error = "compact: " + std::to_string(m_size - m_position) + " bytes after the message";
            return false;
        }
        return true;
    }

private:
    using KeyOrder = std::vector<std::pair<std::string_view, uint32_t>>;

    bool reject(const std::string& reason)
    {
        m_error = reason;
        return false;
    }

    bool reject_twice(const std::string& key) { return reject("parameter '" + key + "' given twice"); }

    bool next(Item& item)
    {
        const std::size_t start = m_position;
        if (start == m_size)
            return reject("truncated message");
        switch (read_item(m_data, m_size, m_position, item)) {
        case ReadStatus::Done:
            return true;
        case ReadStatus::Truncated:
            return reject("truncated message");
        case ReadStatus::Malformed:
            break;
        }
        return reject("malformed CBOR at byte " + std::to_string(start));
    }

    bool read_tree(Message& root)
    {
        // Messages with children still to read, and how many.
        std::vector<std::pair<Message*, uint64_t>> open;
        Message* message = &root;
        for (;;) {
            uint64_t children = 0;
            if (!read_message(*message, open.size() + 1, children))
                return false;
            open.emplace_back(message, children);
            while (!open.empty() && open.back().second == 0)
                open.pop_back();
            if (open.empty())
                return true;
            --open.back().second;
            message = &open.back().first->add_child(std::string());
        }
    }

    // One message up to the head of its children, whose number goes to `children`.
    bool read_message(Message& message, std::size_t depth, uint64_t& children)
    {
        Item item;
        if (!next(item))
            return false;
        if (item.kind != Item::Kind::Array || item.number != kMessageItems)
            return reject("a message is not an array of " + std::to_string(kMessageItems) + " items");
        if (depth > Limits::kMaxDepth)
            return reject("messages nested deeper than " + std::to_string(Limits::kMaxDepth));
        if (++m_nodes > Limits::kMaxNodes)
            return reject("more than " + std::to_string(Limits::kMaxNodes) + " messages");
        if (!next(item))
            return false;
        if (item.kind != Item::Kind::String)
            return reject("message name is not a string");
        message.name = item.text;
        if (!read_params(message.params()) || !next(item))
            return false;
        if (item.kind != Item::Kind::Array)
            return reject("children are not an array");
        if (item.number > Limits::kMaxNodes - m_nodes)
            return reject("more than " + std::to_string(Limits::kMaxNodes) + " messages");
        children = item.number;
        return true;
    }

    // The four maps. A key given twice is refused as soon as its map ends (by the message,
    // after the last map); then the parameters go to the message in key order.
    bool read_params(Params& params)
    {
        m_values.clear();
        m_order.clear();
        for (std::size_t type = 0; type < kParamTypes; ++type) {
            Item item;
            if (!next(item))
                return false;
            if (item.kind != Item::Kind::Map)
                return reject("parameters are not a map");
            if (item.number > Limits::kMaxParamsPerNode - m_values.size())
                return reject("more than " + std::to_string(Limits::kMaxParamsPerNode) + " parameters in one message");
            const std::size_t runStart = m_order.size();
            for (uint64_t remaining = item.number; remaining > 0; --remaining) {
                Item key;
                if (!next(key))
                    return false;
                if (key.kind != Item::Kind::String)
                    return reject("parameter key is not a string");
                if (key.text.size() > Limits::kMaxKeyBytes)
                    return reject("parameter key longer than " + std::to_string(Limits::kMaxKeyBytes) + " bytes");
                Item value;
                if (!next(value))
                    return false;
                if (!fits(type, value))
                    return reject("parameter '" + std::string(key.text) + "' does not fit its type");
                m_order.emplace_back(key.text, static_cast<uint32_t>(m_values.size()));
                m_values.emplace_back(value, type);
            }
            merge_run(runStart);
            if (type + 1 < kParamTypes) {
                const auto twice = std::adjacent_find(m_order.begin(), m_order.end(),
                                                      [](const auto& left, const auto& right) { return left.first == right.first; });
                if (twice != m_order.end())
                    return reject_twice(std::string(twice->first));
            }
        }
        Params::Entries sorted;
        sorted.reserve(m_order.size());
        for (const auto& [key, index] : m_order)
            append_param(sorted, key, m_values[index].second, m_values[index].first);
        std::string duplicate;
        return params.assign(std::move(sorted), duplicate) || reject_twice(duplicate);
    }

    // Sorts the keys from `runStart` on and merges them with those before. Each map comes sorted
    // from this encoder, so that costs one pass each.
    void merge_run(std::size_t runStart)
    {
        const auto byKey = [](const auto& left, const auto& right) { return Params::key_before(left.first, right.first); };
        const auto run = m_order.begin() + static_cast<std::ptrdiff_t>(runStart);
        std::sort(run, m_order.end(), byKey);
        if (run == m_order.begin() || run == m_order.end() || !byKey(*run, *(run - 1)))
            return;
        m_merged.clear();
        std::merge(m_order.begin(), run, run, m_order.end(), std::back_inserter(m_merged), byKey);
        m_order.swap(m_merged);
    }

    const unsigned char* const m_data;
    const std::size_t m_size;
    std::size_t m_position = 0;
    std::size_t m_nodes = 0;
    // The parameters of the message being read (a message's parameters come before its
    // children, so one at a time): values with their type in the frame's order, and keys with
    // the place of their value in key order. Only once sorted are they built, in place.
    std::vector<std::pair<Item, std::size_t>> m_values;
    KeyOrder m_order;
    KeyOrder m_merged;
    std::string m_error;
};

} // namespace

std::string encode(const Message& message, const Message* onlyChild)
{
    Writer writer;
    if (onlyChild) {
        write_head(writer, message, 1);
        write_message(writer, *onlyChild);
    } else {
        write_message(writer, message);
    }
    return writer.take();
}

bool decode(const char* data, std::size_t size, Message& out, std::string& error)
{
    return Decoder(data, size).run(out, error);
}

} // namespace ipc::compact
