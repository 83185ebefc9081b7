// One walk over the words of a command line.
#include "host/CommandWords.h"

bool ReadCommand(int count, const char* const* arguments, const CommandRules& rules, std::string* error)
{
    bool isName = false;
    for (int i = 0; i < count; ++i) {
        std::string name = arguments[i];
        if (isName || name.size() < 2 || name[0] != '-') {
            if (!rules.setName(name, error)) return false;
            continue;
        }
        if (name == "--") {
            isName = true;
            continue;
        }
        if (rules.setSwitch(name)) continue;
        const size_t equals = name.find('=');
        const bool hasValue = equals != std::string::npos;
        const std::string value = hasValue ? name.substr(equals + 1) : i + 1 < count ? arguments[i + 1] : "";
        if (hasValue) name.resize(equals);
        bool isKnown = false;
        const bool isGood = rules.setValue(name, value, &isKnown);
        if (!isKnown) {
            *error = "unknown option " + name;
            return false;
        }
        if (!isGood) {
            *error = value.empty() ? name + " wants a value" : "\"" + value + "\" is no value for " + name;
            return false;
        }
        if (!hasValue) ++i;
    }
    return true;
}
