#ifndef OPTIONDESCRIPTION_H
#define OPTIONDESCRIPTION_H

#include "message.h"

#include <string>
#include <utility>
#include <vector>

// The rules an option description follows wherever its value is stored (profiles, channels,
// system groups, the network manager's tree): labels, units, bounds, choices and the text
// shown for a value. A view: the description must outlive it.
class OptionDescription {
public:
    // (label shown, value stored)
    using Choice = std::pair<std::string, std::string>;

    explicit OptionDescription(const Message& description);

    std::string param(const char* key, const std::string& def = std::string()) const;
    bool has(const char* key) const;

    std::string displayName() const;
    std::string descr() const;
    // `units` when given; otherwise a bool labels its check box with its true text.
    std::string units(bool isBool) const;
    std::string labelTrue() const;
    std::string labelFalse() const;
    int minimum() const;
    int maximum() const;

    // "true" shows the true label; anything else counts as false.
    std::string boolText(const std::string& v) const;
    // The "select" children, in order.
    std::vector<Choice> selectChoices() const;
    // The label of the first choice storing v; v itself when none does.
    static std::string choiceLabel(const std::vector<Choice>& choices, const std::string& v);

private:
    const Message& m_description;
};

#endif
