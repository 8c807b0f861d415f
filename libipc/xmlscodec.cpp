// Layout of the "xmls" encoding: one XML 1.0 document in UTF-8 whose root element is a message.
//
//   <m n="peer">
//     <i k="id">3</i>
//     <s k="name">Studio A</s>
//     <b k="active">true</b>
//     <u k="rate">64000</u>
//     <m n="child"/>
//   </m>
//
// <m> is a message, `n` its name; inside it, parameters and child messages in any order (the
// children keep theirs). A parameter element is named after its type (s string, i int, u uint,
// b bool), `k` holds its key and the text its value. The text of <s> is taken exactly; numbers
// and bools may have blanks around them; bools read "true"/"false" (or "1"/"0"). Whitespace
// between elements is ignored, so files may be indented.
//
// A string that XML cannot carry (invalid UTF-8, control characters other than tab and line
// ends) is written as hex: a string value as <s k="blob" hex="1">00ff</s>, a name or key in
// `n-hex` or `k-hex` instead of `n` or `k`.
//
// Anything else (other elements or attributes, text outside parameters, a DTD) is refused.
#include "xmlscodec.h"

#include "codec.h"
#include "utf8.h"

#include <expat.h>
#include <sodium.h>

#include <charconv>
#include <optional>
#include <string_view>
#include <vector>

namespace ipc::xmls {

namespace {

constexpr char kParamTags[] = {'s', 'i', 'u', 'b'}; // in ParamValue's type order

bool is_xml_char(char32_t codePoint)
{
    return codePoint == 0x9 || codePoint == 0xa || codePoint == 0xd || (codePoint >= 0x20 && codePoint <= 0xd7ff)
        || (codePoint >= 0xe000 && codePoint <= 0xfffd) || codePoint >= 0x10000;
}

bool xml_can_carry(const std::string& text)
{
    return utf8_all_of(text, is_xml_char);
}

std::string to_hex(const std::string& bytes)
{
    std::string hex(2 * bytes.size() + 1, '\0');
    sodium_bin2hex(hex.data(), hex.size(), reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    hex.pop_back();
    return hex;
}

bool from_hex(const std::string& hex, std::string& bytes)
{
    if (hex.size() % 2 != 0)
        return false;
    bytes.resize(hex.size() / 2);
    std::size_t length = 0;
    return sodium_hex2bin(reinterpret_cast<unsigned char*>(bytes.data()), bytes.size(), hex.data(), hex.size(),
                          nullptr, &length, nullptr)
        == 0
        && length == bytes.size();
}

// Line ends and tabs are escaped in attributes too, where the parser would turn them into blanks.
void append_escaped(std::string& out, const std::string& text)
{
    for (const char c : text) {
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        case '\t': out += "&#9;"; break;
        case '\n': out += "&#10;"; break;
        case '\r': out += "&#13;"; break;
        default: out += c; break;
        }
    }
}

void append_attribute(std::string& out, const char* attribute, const std::string& value)
{
    out += ' ';
    out += attribute;
    out += "=\"";
    append_escaped(out, value);
    out += '"';
}

// `n="..."` or, for a name XML cannot carry, `n-hex="..."`; the same for `k`.
void append_naming_attribute(std::string& out, const std::string& attribute, const std::string& value)
{
    if (xml_can_carry(value))
        append_attribute(out, attribute.c_str(), value);
    else
        append_attribute(out, (attribute + "-hex").c_str(), to_hex(value));
}

void write_param(std::string& out, const std::string& key, const ParamValue& value)
{
    const char tag = kParamTags[value.index()];
    out += '<';
    out += tag;
    append_naming_attribute(out, "k", key);
    std::string body;
    switch (value.index()) {
    case 0:
        body = std::get<std::string>(value);
        if (!xml_can_carry(body)) {
            body = to_hex(body);
            out += " hex=\"1\"";
        }
        break;
    case 1:
        body = std::to_string(std::get<int32_t>(value));
        break;
    case 2:
        body = std::to_string(std::get<uint32_t>(value));
        break;
    default:
        body = std::get<bool>(value) ? "true" : "false";
        break;
    }
    if (body.empty()) {
        out += "/>";
        return;
    }
    out += '>';
    append_escaped(out, body);
    out += "</";
    out += tag;
    out += '>';
}

// The opening tag and the parameters; false when the message has neither parameters nor
// children (`hasChildren`), which is written whole as an empty element.
bool write_open(std::string& out, const Message& message, bool hasChildren)
{
    out += "<m";
    append_naming_attribute(out, "n", message.name);
    if (message.params().empty() && !hasChildren) {
        out += "/>";
        return false;
    }
    out += '>';
    for (const auto& [key, value] : message.params().values())
        write_param(out, key, value);
    return true;
}

void write_message(std::string& out, const Message& message)
{
    if (!write_open(out, message, message.child_count() > 0))
        return;
    for (std::size_t i = 0; i < message.child_count(); ++i)
        write_message(out, message.child(i));
    out += "</m>";
}

std::optional<bool> parse_flag(std::string_view text)
{
    if (text == "true" || text == "1")
        return true;
    if (text == "false" || text == "0")
        return false;
    return std::nullopt;
}

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

template <typename Number>
std::optional<Number> parse_number(std::string_view text)
{
    Number value{};
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (text.empty() || error != std::errc() || stop != end)
        return std::nullopt;
    return value;
}

// Feeds expat's callbacks into a message tree, checking every limit as elements open.
class Decoder {
public:
    explicit Decoder(Message& root) : m_root(root) {}

    bool run(const char* data, std::size_t size, std::string& error)
    {
        XML_Parser parser = XML_ParserCreate("UTF-8");
        if (!parser) {
            error = "xmls: out of memory";
            return false;
        }
        m_parser = parser;
        XML_SetUserData(parser, this);
        XML_SetElementHandler(parser, on_start, on_end);
        XML_SetCharacterDataHandler(parser, on_text);
        XML_SetStartDoctypeDeclHandler(parser, on_doctype);
        const bool parsed = XML_Parse(parser, data, static_cast<int>(size), XML_TRUE) == XML_STATUS_OK;
        if (!parsed && m_error.empty()) {
            m_error = std::string(XML_ErrorString(XML_GetErrorCode(parser))) + " at line "
                + std::to_string(XML_GetCurrentLineNumber(parser));
        }
        XML_ParserFree(parser);
        if (!m_error.empty())
            error = "xmls: " + m_error;
        return m_error.empty();
    }

private:
    struct Open {
        Message* message;
        // Handed to the message at its end tag.
        Params::Entries params;
    };
    struct Param {
        std::size_t type;
        std::string key;
        std::string text;
        bool hex;
    };

    static Decoder& self(void* userData) { return *static_cast<Decoder*>(userData); }

    static void XMLCALL on_start(void* userData, const XML_Char* name, const XML_Char** attributes)
    {
        Decoder& decoder = self(userData);
        if (decoder.m_error.empty())
            decoder.start(name, attributes);
    }

    static void XMLCALL on_end(void* userData, const XML_Char*)
    {
        Decoder& decoder = self(userData);
        if (decoder.m_error.empty())
            decoder.end();
    }

    static void XMLCALL on_text(void* userData, const XML_Char* text, int length)
    {
        Decoder& decoder = self(userData);
        if (decoder.m_error.empty())
            decoder.text(std::string_view(text, static_cast<std::size_t>(length)));
    }

    static void XMLCALL on_doctype(void* userData, const XML_Char*, const XML_Char*, const XML_Char*, int)
    {
        self(userData).reject("a document type declaration is not allowed");
    }

    void reject(const std::string& reason)
    {
        if (m_error.empty())
            m_error = reason + " at line " + std::to_string(XML_GetCurrentLineNumber(m_parser));
        XML_StopParser(m_parser, XML_FALSE);
    }

    // Reads the naming attribute, plain (`n`) or hex (`n-hex`), and where `textHex` is given
    // the hex flag of the text; nothing else is allowed.
    bool read_attributes(const XML_Char** attributes, const std::string& naming, std::string& value,
                         bool* textHex)
    {
        const std::string hexNaming = naming + "-hex";
        int namings = 0;
        for (const XML_Char** attribute = attributes; *attribute; attribute += 2) {
            const std::string_view attributeName = attribute[0];
            if (attributeName == naming) {
                value = attribute[1];
                ++namings;
            } else if (attributeName == hexNaming) {
                if (!from_hex(attribute[1], value)) {
                    reject("attribute '" + hexNaming + "' is not hex");
                    return false;
                }
                ++namings;
            } else if (textHex && attributeName == "hex") {
                const std::optional<bool> flag = parse_flag(attribute[1]);
                if (!flag) {
                    reject("hex must be 1 or 0");
                    return false;
                }
                *textHex = *flag;
            } else {
                reject("unknown attribute '" + std::string(attributeName) + "'");
                return false;
            }
        }
        if (namings != 1) {
            reject(namings == 0 ? "missing attribute '" + naming + "'"
                                : "both '" + naming + "' and '" + hexNaming + "' given");
            return false;
        }
        return true;
    }

    void start(std::string_view element, const XML_Char** attributes)
    {
        if (m_param) {
            reject("element inside a parameter");
        } else if (element == "m") {
            start_message(attributes);
        } else if (const std::size_t type = param_type(element); type != std::string_view::npos) {
            start_param(type, attributes);
        } else {
            reject("unknown element <" + std::string(element) + ">");
        }
    }

    // The ParamValue index of a parameter element, npos for anything else.
    static std::size_t param_type(std::string_view element)
    {
        if (element.size() != 1)
            return std::string_view::npos;
        return std::string_view(kParamTags, sizeof kParamTags).find(element[0]);
    }

    void start_message(const XML_Char** attributes)
    {
        if (m_open.size() >= Limits::kMaxDepth)
            return reject("messages nested deeper than " + std::to_string(Limits::kMaxDepth));
        if (++m_nodes > Limits::kMaxNodes)
            return reject("more than " + std::to_string(Limits::kMaxNodes) + " messages");
        std::string name;
        if (!read_attributes(attributes, "n", name, nullptr))
            return;
        Message& message = m_open.empty() ? m_root : m_open.back().message->add_child(std::string());
        message.name = std::move(name);
        m_open.push_back({&message, {}});
    }

    void start_param(std::size_t type, const XML_Char** attributes)
    {
        if (m_open.empty())
            return reject("the root element must be <m>");
        Open& top = m_open.back();
        if (top.params.size() >= Limits::kMaxParamsPerNode)
            return reject("more than " + std::to_string(Limits::kMaxParamsPerNode) + " parameters in one message");
        Param param{type, std::string(), std::string(), false};
        if (!read_attributes(attributes, "k", param.key, type == 0 ? &param.hex : nullptr))
            return;
        if (param.key.size() > Limits::kMaxKeyBytes)
            return reject("parameter key longer than " + std::to_string(Limits::kMaxKeyBytes) + " bytes");
        m_param = std::move(param);
    }

    void text(std::string_view text)
    {
        if (m_param)
            m_param->text += text;
        else if (!trimmed(text).empty())
            reject("text outside a parameter");
    }

    void end()
    {
        if (!m_param) {
            std::string twice;
            if (!m_open.back().message->params().assign(std::move(m_open.back().params), twice))
                return reject("parameter '" + twice + "' given twice");
            m_open.pop_back();
            return;
        }
        std::optional<ParamValue> value = param_value(*m_param);
        if (!value)
            return reject("parameter '" + m_param->key + "' is not a valid " + std::string(1, kParamTags[m_param->type]));
        m_open.back().params.emplace_back(std::move(m_param->key), std::move(*value));
        m_param.reset();
    }

    static std::optional<ParamValue> param_value(const Param& param)
    {
        switch (param.type) {
        case 0: {
            if (!param.hex)
                return param.text;
            std::string bytes;
            if (!from_hex(param.text, bytes))
                return std::nullopt;
            return bytes;
        }
        case 1:
            if (const auto number = parse_number<int32_t>(trimmed(param.text)))
                return *number;
            return std::nullopt;
        case 2:
            if (const auto number = parse_number<uint32_t>(trimmed(param.text)))
                return *number;
            return std::nullopt;
        default:
            if (const auto flag = parse_flag(trimmed(param.text)))
                return *flag;
            return std::nullopt;
        }
    }

    Message& m_root;
    XML_Parser m_parser = nullptr;
    std::vector<Open> m_open;
    std::optional<Param> m_param;
    std::size_t m_nodes = 0;
    std::string m_error;
};

} // namespace

std::string encode(const Message& message, const Message* onlyChild)
{
    std::string out;
    if (!onlyChild) {
        write_message(out, message);
    } else {
        write_open(out, message, true);
        write_message(out, *onlyChild);
        out += "</m>";
    }
    return out;
}

bool decode(const char* data, std::size_t size, Message& out, std::string& error)
{
    return Decoder(out).run(data, size, error);
}

} // namespace ipc::xmls
