#include "params.h"

#include "logger.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <numeric>
#include <optional>

namespace {

template <typename Number>
std::optional<Number> parse_decimal(const std::string& text)
{
    Number value{};
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end)
        return std::nullopt;
    return value;
}

std::optional<bool> parse_bool(const std::string& text)
{
    if (text == "true" || text == "1")
        return true;
    if (text == "false" || text == "0")
        return false;
    return std::nullopt;
}

// The numeric meaning of a value: numbers as they are, a bool as 0 or 1, a decimal text.
std::optional<int64_t> as_number(const ParamValue& value)
{
    switch (value.index()) {
    case 0:
        return parse_decimal<int64_t>(std::get<std::string>(value));
    case 1:
        return std::get<int32_t>(value);
    case 2:
        return std::get<uint32_t>(value);
    default:
        return std::get<bool>(value) ? 1 : 0;
    }
}

template <typename Number>
Number number_or(const ParamValue* value, Number def)
{
    if (!value)
        return def;
    const std::optional<int64_t> number = as_number(*value);
    if (!number || *number < std::numeric_limits<Number>::min() || *number > std::numeric_limits<Number>::max())
        return def;
    return static_cast<Number>(*number);
}

bool is_blank(char c)
{
    return c == ' ' || c == '\t';
}

// One `key[:T]=value` item of the text syntax, read from `cursor` up to the next blank.
struct TextItem {
    std::string key;
    char type = 's';
    std::string value;
};

bool scan_value(const char*& cursor, std::string& value)
{
    if (*cursor != '"') {
        while (*cursor && !is_blank(*cursor))
            value += *cursor++;
        return true;
    }
    ++cursor;
    while (*cursor && *cursor != '"') {
        if (*cursor == '\\' && (cursor[1] == '"' || cursor[1] == '\\'))
            ++cursor;
        value += *cursor++;
    }
    if (*cursor != '"')
        return false;
    ++cursor;
    return !*cursor || is_blank(*cursor);
}

bool scan_item(const char*& cursor, TextItem& item)
{
    while (*cursor && !is_blank(*cursor) && *cursor != ':' && *cursor != '=')
        item.key += *cursor++;
    if (item.key.empty())
        return false;
    if (*cursor == ':') {
        item.type = cursor[1];
        if (!item.type)
            return false;
        cursor += 2;
    }
    if (*cursor != '=')
        return false;
    ++cursor;
    return scan_value(cursor, item.value);
}

std::optional<ParamValue> typed_value(const TextItem& item)
{
    switch (item.type) {
    case 's':
        return item.value;
    case 'i':
        if (const auto number = parse_decimal<int32_t>(item.value))
            return *number;
        break;
    case 'u':
        if (const auto number = parse_decimal<uint32_t>(item.value))
            return *number;
        break;
    case 'b':
        if (const auto flag = parse_bool(item.value))
            return *flag;
        break;
    }
    return std::nullopt;
}

// Where `key` is, or would go, in the sorted entries.
template <typename Entries>
auto position_of(Entries& entries, const std::string& key)
{
    return std::lower_bound(entries.begin(), entries.end(), key,
                            [](const Params::Entry& entry, const std::string& wanted) {
                                return Params::key_before(entry.first, wanted);
                            });
}

// The entry of `key`, or end().
template <typename Entries>
auto entry_of(Entries& entries, const std::string& key)
{
    const auto position = position_of(entries, key);
    return position != entries.end() && position->first == key ? position : entries.end();
}

} // namespace

Params::Params(const char* text)
{
    const char* cursor = text ? text : "";
    while (*cursor) {
        if (is_blank(*cursor)) {
            ++cursor;
            continue;
        }
        const char* itemStart = cursor;
        TextItem item;
        std::optional<ParamValue> value;
        if (scan_item(cursor, item))
            value = typed_value(item);
        if (value) {
            set(item.key, *value);
            continue;
        }
        while (*cursor && !is_blank(*cursor))
            ++cursor;
        g_log.log(LOG_ERROR, "Params: skipped malformed item '%.*s'", static_cast<int>(cursor - itemStart),
                  itemStart);
    }
}

void Params::set_string(const std::string& key, const std::string& value)
{
    set(key, value);
}

void Params::set_int(const std::string& key, int32_t value)
{
    set(key, value);
}

void Params::set_uint(const std::string& key, uint32_t value)
{
    set(key, value);
}

void Params::set_bool(const std::string& key, bool value)
{
    set(key, value);
}

void Params::set(const std::string& key, const ParamValue& value)
{
    const auto position = position_of(m_values, key);
    if (position != m_values.end() && position->first == key)
        position->second = value;
    else
        m_values.emplace(position, key, value);
}

bool Params::assign(Entries entries, std::string& duplicate)
{
    const auto notBefore = [&](uint32_t left, uint32_t right) {
        return !key_before(entries[left].first, entries[right].first);
    };
    // The positions are sorted rather than the entries, which cost far more to move; then each
    // entry moves once. A message's few positions fit on the stack.
    std::array<uint32_t, 64> fewPositions;
    std::vector<uint32_t> manyPositions;
    uint32_t* order = fewPositions.data();
    if (entries.size() > fewPositions.size()) {
        manyPositions.resize(entries.size());
        order = manyPositions.data();
    }
    uint32_t* const end = order + entries.size();
    std::iota(order, end, 0u);
    // Entries that come in strictly increasing order are taken as they are.
    if (std::adjacent_find(order, end, notBefore) == end) {
        m_values = std::move(entries);
        return true;
    }
    std::sort(order, end, [&](uint32_t left, uint32_t right) { return !notBefore(left, right); });
    const uint32_t* twice = std::adjacent_find(order, end, notBefore);
    if (twice != end) {
        duplicate = entries[*twice].first;
        return false;
    }
    Entries sorted;
    sorted.reserve(entries.size());
    for (const uint32_t* position = order; position != end; ++position)
        sorted.push_back(std::move(entries[*position]));
    m_values = std::move(sorted);
    return true;
}

const ParamValue* Params::find(const std::string& key) const
{
    const auto found = entry_of(m_values, key);
    return found == m_values.end() ? nullptr : &found->second;
}

std::string Params::get_string(const std::string& key, const std::string& def) const
{
    const ParamValue* value = find(key);
    if (!value)
        return def;
    switch (value->index()) {
    case 0:
        return std::get<std::string>(*value);
    case 1:
        return std::to_string(std::get<int32_t>(*value));
    case 2:
        return std::to_string(std::get<uint32_t>(*value));
    default:
        return std::get<bool>(*value) ? "true" : "false";
    }
}

int32_t Params::get_int(const std::string& key, int32_t def) const
{
    return number_or(find(key), def);
}

uint32_t Params::get_uint(const std::string& key, uint32_t def) const
{
    return number_or(find(key), def);
}

bool Params::get_bool(const std::string& key, bool def) const
{
    const ParamValue* value = find(key);
    if (!value)
        return def;
    if (const bool* flag = std::get_if<bool>(value))
        return *flag;
    if (const std::string* text = std::get_if<std::string>(value))
        return parse_bool(*text).value_or(def);
    return *as_number(*value) != 0;
}

bool Params::has_param(const std::string& key) const
{
    return find(key) != nullptr;
}

bool Params::remove(const std::string& key)
{
    const auto found = entry_of(m_values, key);
    if (found == m_values.end())
        return false;
    m_values.erase(found);
    return true;
}

Params& Params::operator+=(const Params& other)
{
    for (const auto& [key, value] : other.m_values)
        set(key, value);
    return *this;
}
