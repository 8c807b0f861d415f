#ifndef LIBIPC_PARAMS_H
#define LIBIPC_PARAMS_H

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

// One typed scalar. The index order (string, int, uint, bool) is part of both wire encodings.
using ParamValue = std::variant<std::string, int32_t, uint32_t, bool>;

// An unordered set of named, typed scalars. Reading an absent key gives the caller's default.
// Kept as one vector sorted by key: a message's handful of parameters cost one allocation and
// are found by binary search.
//
// Reading a key stored under another type converts where the meaning is plain: numbers and
// bools between each other (bool is "not zero"), a number to its decimal text, a bool to
// "true"/"false", a decimal text to a number, "true"/"false"/"1"/"0" to a bool. Anything else
// reads as the default.
//
// Text syntax of the C-string constructor: items separated by blanks, each `key=value` (a
// string) or `key:T=value` with T one of `s` string, `i` int, `u` uint, `b` bool. A value may
// be put in double quotes to hold blanks; inside quotes `\"` and `\\` stand for `"` and `\`.
//     Params("path=netmgr.devices status=raw depth:u=2 label=\"Studio A\" up:b=true")
// An item that does not follow the syntax is skipped and logged at level 2.
class Params {
public:
    using Entry = std::pair<std::string, ParamValue>;
    using Entries = std::vector<Entry>;

    Params() = default;
    explicit Params(const char* text);

    void set_string(const std::string& key, const std::string& value);
    void set_int(const std::string& key, int32_t value);
    void set_uint(const std::string& key, uint32_t value);
    void set_bool(const std::string& key, bool value);
    void set(const std::string& key, const ParamValue& value);
    // Replaces every parameter by `entries`, given in any order, in time O(n log n) whatever
    // the order: the decoders' way in. False, nothing changed and the key in `duplicate`, when a
    // key comes twice.
    bool assign(Entries entries, std::string& duplicate);

    std::string get_string(const std::string& key, const std::string& def) const;
    int32_t get_int(const std::string& key, int32_t def) const;
    uint32_t get_uint(const std::string& key, uint32_t def) const;
    bool get_bool(const std::string& key, bool def) const;

    bool has_param(const std::string& key) const;
    bool remove(const std::string& key);
    std::size_t size() const { return m_values.size(); }
    bool empty() const { return m_values.empty(); }

    // Sorted by key, in this order: bytewise, a prefix before the longer key. Inline, as
    // decoding compares keys far more often than it compares long ones.
    static bool key_before(std::string_view left, std::string_view right)
    {
        const std::size_t common = left.size() < right.size() ? left.size() : right.size();
        for (std::size_t i = 0; i < common; ++i) {
            if (left[i] != right[i])
                return static_cast<unsigned char>(left[i]) < static_cast<unsigned char>(right[i]);
        }
        return left.size() < right.size();
    }
    const Entries& values() const { return m_values; }

    // Keys of the right-hand set are added to (and replace those of) the left-hand set.
    Params& operator+=(const Params& other);
    friend Params operator+(Params left, const Params& right) { return left += right; }

    bool operator==(const Params& other) const { return m_values == other.m_values; }
    bool operator!=(const Params& other) const { return !(*this == other); }

private:
    const ParamValue* find(const std::string& key) const;

    Entries m_values;
};

#endif
