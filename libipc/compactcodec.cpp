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
// The decoder reads one CBOR item head at a time (cbor_stream_decode) and keeps its own stack of
// open messages, so hostile nesting costs heap within Limits, never call-stack depth.
#include "compactcodec.h"

#include "codec.h"
#include "utf8.h"

#include <cbor.h>

#include <algorithm>
#include <limits>
#include <string_view>
#include <vector>

namespace ipc::compact {

namespace {

constexpr uint64_t kMessageItems = 6;
constexpr unsigned int kParamTypes = std::variant_size_v<ParamValue>;

bool any_code_point(char32_t)
{
    return true;
}

class Writer {
public:
    // Room for a typical answer without regrowing byte by byte from nothing.
    Writer() { m_out.reserve(256); }

    void array(std::size_t count) { put(cbor_encode_array_start(count, m_head, sizeof m_head)); }
    void map(std::size_t count) { put(cbor_encode_map_start(count, m_head, sizeof m_head)); }

    void string(const std::string& text)
    {
        const bool ascii = std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
        const bool utf8 = ascii || utf8_all_of(text, any_code_point);
        put(utf8 ? cbor_encode_string_start(text.size(), m_head, sizeof m_head)
                 : cbor_encode_bytestring_start(text.size(), m_head, sizeof m_head));
        m_out += text;
    }

    void value(const ParamValue& value)
    {
        switch (value.index()) {
        case 0:
            string(std::get<std::string>(value));
            break;
        case 1: {
            const int64_t number = std::get<int32_t>(value);
            put(number >= 0 ? cbor_encode_uint(static_cast<uint64_t>(number), m_head, sizeof m_head)
                            : cbor_encode_negint(static_cast<uint64_t>(-1 - number), m_head, sizeof m_head));
            break;
        }
        case 2:
            put(cbor_encode_uint(std::get<uint32_t>(value), m_head, sizeof m_head));
            break;
        default:
            put(cbor_encode_bool(std::get<bool>(value), m_head, sizeof m_head));
            break;
        }
    }

    std::string take() { return std::move(m_out); }

private:
    // Most heads are one byte: small counts, short strings, small numbers.
    void put(std::size_t headBytes)
    {
        if (headBytes == 1)
            m_out.push_back(static_cast<char>(m_head[0]));
        else
            m_out.append(reinterpret_cast<const char*>(m_head), headBytes);
    }

    unsigned char m_head[9]; // the longest CBOR item head
    std::string m_out;
};

// The name, the parameters and the head of the children array.
void write_head(Writer& writer, const Message& message, std::size_t childCount)
{
    writer.array(kMessageItems);
    writer.string(message.name);
    const auto& values = message.params().values();
    std::size_t counts[kParamTypes] = {};
    for (const auto& entry : values)
        ++counts[entry.second.index()];
    for (std::size_t type = 0; type < kParamTypes; ++type) {
        writer.map(counts[type]);
        for (const auto& [key, value] : values) {
            if (value.index() != type)
                continue;
            writer.string(key);
            writer.value(value);
        }
    }
    writer.array(childCount);
}

void write_message(Writer& writer, const Message& message)
{
    write_head(writer, message, message.child_count());
    for (std::size_t i = 0; i < message.child_count(); ++i)
        write_message(writer, message.child(i));
}

// One CBOR item head as the streaming decoder reports it.
struct Item {
    enum class Kind { Unsupported, Unsigned, Negative, String, Array, Map, Bool };
    Kind kind = Kind::Unsupported;
    uint64_t number = 0; // the value; -1 - value for Negative; the count for Array and Map
    std::string_view text;
    bool flag = false;
};

Item& item_of(void* context)
{
    return *static_cast<Item*>(context);
}

template <typename Number>
void on_unsigned(void* context, Number value)
{
    item_of(context) = {Item::Kind::Unsigned, value, {}, false};
}

template <typename Number>
void on_negative(void* context, Number value)
{
    item_of(context) = {Item::Kind::Negative, value, {}, false};
}

void on_string(void* context, cbor_data data, std::size_t size)
{
    item_of(context) = {Item::Kind::String, 0, {reinterpret_cast<const char*>(data), size}, false};
}

void on_array(void* context, std::size_t count)
{
    item_of(context) = {Item::Kind::Array, count, {}, false};
}

void on_map(void* context, std::size_t count)
{
    item_of(context) = {Item::Kind::Map, count, {}, false};
}

void on_bool(void* context, bool value)
{
    item_of(context) = {Item::Kind::Bool, 0, {}, value};
}

void on_unsupported(void* context)
{
    item_of(context) = {};
}

void on_unsupported_number(void* context, uint64_t)
{
    item_of(context) = {};
}

void on_unsupported_float(void* context, float)
{
    item_of(context) = {};
}

void on_unsupported_double(void* context, double)
{
    item_of(context) = {};
}

const cbor_callbacks& item_callbacks()
{
    static const cbor_callbacks callbacks = [] {
        cbor_callbacks c{};
        c.uint8 = on_unsigned<uint8_t>;
        c.uint16 = on_unsigned<uint16_t>;
        c.uint32 = on_unsigned<uint32_t>;
        c.uint64 = on_unsigned<uint64_t>;
        c.negint8 = on_negative<uint8_t>;
        c.negint16 = on_negative<uint16_t>;
        c.negint32 = on_negative<uint32_t>;
        c.negint64 = on_negative<uint64_t>;
        c.byte_string = on_string;
        c.string = on_string;
        c.array_start = on_array;
        c.map_start = on_map;
        c.boolean = on_bool;
        c.byte_string_start = on_unsupported;
        c.string_start = on_unsupported;
        c.indef_array_start = on_unsupported;
        c.indef_map_start = on_unsupported;
        c.tag = on_unsupported_number;
        c.float2 = on_unsupported_float;
        c.float4 = on_unsupported_float;
        c.float8 = on_unsupported_double;
        c.undefined = on_unsupported;
        c.null = on_unsupported;
        c.indef_break = on_unsupported;
        return c;
    }();
    return callbacks;
}

bool to_param(std::size_t type, const Item& item, ParamValue& out)
{
    constexpr uint64_t kInt32Max = std::numeric_limits<int32_t>::max();
    switch (type) {
    case 0:
        if (item.kind != Item::Kind::String)
            return false;
        out = std::string(item.text);
        return true;
    case 1:
        if (item.kind == Item::Kind::Unsigned && item.number <= kInt32Max)
            out = static_cast<int32_t>(item.number);
        else if (item.kind == Item::Kind::Negative && item.number <= kInt32Max)
            out = static_cast<int32_t>(-1 - static_cast<int64_t>(item.number));
        else
            return false;
        return true;
    case 2:
        if (item.kind != Item::Kind::Unsigned || item.number > std::numeric_limits<uint32_t>::max())
            return false;
        out = static_cast<uint32_t>(item.number);
        return true;
    default:
        if (item.kind != Item::Kind::Bool)
            return false;
        out = item.flag;
        return true;
    }
}

class Decoder {
public:
    explicit Decoder(Message& root) : m_root(root) {}

    bool run(const unsigned char* data, std::size_t size, std::string& error)
    {
        std::size_t position = 0;
        while (!m_done) {
            if (position == size)
                return fail(error, "truncated message");
            Item item;
            const cbor_decoder_result result = cbor_stream_decode(data + position, size - position,
                                                                  &item_callbacks(), &item);
            if (result.status == CBOR_DECODER_NEDATA)
                return fail(error, "truncated message");
            if (result.status != CBOR_DECODER_FINISHED || result.read == 0)
                return fail(error, "malformed CBOR at byte " + std::to_string(position));
            position += result.read;
            if (!consume(item))
                return fail(error, m_error);
        }
        if (position != size)
            return fail(error, std::to_string(size - position) + " bytes after the message");
        return true;
    }

private:
    enum class Stage { Name, ParamsHead, Key, Value, ChildrenHead, Children };

    struct Open {
        Message* message;
        Stage stage;
        std::size_t paramType;
        uint64_t remaining; // of the current map or of the children
        std::size_t params;
        std::string_view key; // into the input, which outlives the decoder
        Params::Entries entries; // handed over at once when the last map ends
    };

    static bool fail(std::string& error, const std::string& reason)
    {
        error = "compact: " + reason;
        return false;
    }

    bool reject(const std::string& reason)
    {
        m_error = reason;
        return false;
    }

    bool consume(const Item& item)
    {
        if (m_open.empty())
            return open(nullptr, item);
        Open& top = m_open.back();
        switch (top.stage) {
        case Stage::Name:
            if (item.kind != Item::Kind::String)
                return reject("message name is not a string");
            top.message->name = item.text;
            top.stage = Stage::ParamsHead;
            return true;
        case Stage::ParamsHead:
            if (item.kind != Item::Kind::Map)
                return reject("parameters are not a map");
            if (item.number > Limits::kMaxParamsPerNode - top.params)
                return reject("more than " + std::to_string(Limits::kMaxParamsPerNode) + " parameters in one message");
            top.params += item.number;
            top.entries.reserve(top.params);
            top.remaining = item.number;
            if (top.remaining == 0)
                return next_param_type(top);
            top.stage = Stage::Key;
            return true;
        case Stage::Key:
            if (item.kind != Item::Kind::String)
                return reject("parameter key is not a string");
            if (item.text.size() > Limits::kMaxKeyBytes)
                return reject("parameter key longer than " + std::to_string(Limits::kMaxKeyBytes) + " bytes");
            top.key = item.text;
            top.stage = Stage::Value;
            return true;
        case Stage::Value: {
            ParamValue value;
            if (!to_param(top.paramType, item, value))
                return reject("parameter '" + std::string(top.key) + "' does not fit its type");
            top.entries.emplace_back(top.key, std::move(value));
            if (--top.remaining == 0)
                return next_param_type(top);
            top.stage = Stage::Key;
            return true;
        }
        case Stage::ChildrenHead:
            if (item.kind != Item::Kind::Array)
                return reject("children are not an array");
            if (item.number > Limits::kMaxNodes - m_nodes)
                return reject("more than " + std::to_string(Limits::kMaxNodes) + " messages");
            top.remaining = item.number;
            top.stage = Stage::Children;
            if (top.remaining == 0)
                close();
            return true;
        case Stage::Children:
            --top.remaining;
            return open(top.message, item);
        }
        return reject("internal decoder state");
    }

    bool next_param_type(Open& top)
    {
        if (++top.paramType < kParamTypes) {
            top.stage = Stage::ParamsHead;
            return true;
        }
        top.stage = Stage::ChildrenHead;
        std::string duplicate;
        if (!top.message->params().assign(std::move(top.entries), duplicate))
            return reject("parameter '" + duplicate + "' given twice");
        return true;
    }

    // A message head: the root when `parent` is null, else the parent's next child.
    bool open(Message* parent, const Item& item)
    {
        if (item.kind != Item::Kind::Array || item.number != kMessageItems)
            return reject("a message is not an array of " + std::to_string(kMessageItems) + " items");
        if (m_open.size() >= Limits::kMaxDepth)
            return reject("messages nested deeper than " + std::to_string(Limits::kMaxDepth));
        if (++m_nodes > Limits::kMaxNodes)
            return reject("more than " + std::to_string(Limits::kMaxNodes) + " messages");
        Message* message = parent ? &parent->add_child(std::string()) : &m_root;
        m_open.push_back({message, Stage::Name, 0, 0, 0, {}, {}});
        return true;
    }

    // Closes the top message, which has no children left, and every parent whose last child that was.
    void close()
    {
        while (!m_open.empty() && m_open.back().remaining == 0)
            m_open.pop_back();
        m_done = m_open.empty();
    }

    Message& m_root;
    std::vector<Open> m_open;
    std::size_t m_nodes = 0;
    bool m_done = false;
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
    return Decoder(out).run(reinterpret_cast<const unsigned char*>(data), size, error);
}

} // namespace ipc::compact
