// host/name_pattern.h - a pattern of names, as the commands take it.
#pragma once

#include <string>
#include <string_view>

namespace host {

// A pattern in which "*" is any text, also of several names, and "?" one UTF-16 unit. Without both
// it is found anywhere in a name. Letter case counts nowhere. HKLM, HKCU, HKCR and HKU at its start
// are the long names. One thread at a time.
class CNamePattern {
public:
    explicit CNamePattern(std::u16string_view pattern);

    // Whether the pattern is a "*", which also matches what has no name.
    [[nodiscard]] bool IsOfAll() const { return m_isOfAll; }
    // An empty name is none.
    [[nodiscard]] bool Matches(std::u16string_view name) const;
    // The same for a key, or with a name of a value for that value, whose name follows its key's.
    // What shows in HKEY_CLASSES_ROOT has its name there too.
    [[nodiscard]] bool MatchesKey(std::u16string_view key,
                                  const std::u16string_view* value = nullptr) const;

private:
    std::u16string m_pattern;  // in lower case
    bool m_isPart = false;     // there is no "*" and no "?" in it
    bool m_isOfAll = false;
    bool m_isOfClasses = false;
    // Kept for their memory.
    mutable std::u16string m_lower;
    mutable std::u16string m_path;
};

}  // namespace host
