#include "host/record_pattern.h"

#include <algorithm>

#include "host/console.h"
#include "host/key_names.h"
#include "platform/local_paths.h"

namespace host {

namespace {

using Text = std::u16string_view;

// Whether a text is a path of files, as the library names them.
bool IsFilePath(Text text) {
    return text.starts_with(uR"(\\)") || (text.size() > 2 && text[1] == u':' && text[2] == u'\\');
}

// Whether a name of a file is the same in every system.
bool IsPlainName(Text name) {
    static constexpr Text kOthers = uR"(/:*?"<>|)";
    return !name.empty() && name.back() != u'.' && name.back() != u' ' &&
           std::all_of(name.begin(), name.end(), [](char16_t unit) {
               return unit >= 0x20 && unit < 0x7F && kOthers.find(unit) == Text::npos;
           });
}

}  // namespace

bool IsOfRegistry(const SRecordEntry& entry) {
    return entry.thing == "key" || entry.thing == "value" || entry.thing == "variable";
}

std::u16string CLocalNames::Find(const SRecordEntry& entry) {
    const bool hasManifest = entry.thing == "manifest" && entry.collection.empty();
    const std::u16string& path = hasManifest ? entry.target : entry.source;
    if (IsOfRegistry(entry) || !IsFilePath(path)) {
        return {};
    }
    const std::size_t start = path.rfind(u'\\') + 1;
    const Text folder = Text(path).substr(0, start);
    const Text name = Text(path).substr(start);
    const bool isPlain = IsPlainName(name);
    // The files of one folder mostly come one after the other, so one folder is enough.
    if (isPlain && folder == m_folder) {
        return m_localFolder + std::u16string(name);
    }
    std::u16string local = ShownPath(platform::LocalPath(path));
    // A name that this system cannot have is left out of the path.
    if (local.ends_with(u'/') || local.ends_with(u'\\')) {
        return {};
    }
    // Only a name that is the same here. Then all ahead of it is the folder.
    if (isPlain && local.size() > name.size() && local.ends_with(name)) {
        m_folder = folder;
        m_localFolder = local.substr(0, local.size() - name.size());
    }
    return local;
}

bool CRecordPattern::Matches(const SRecordEntry& entry, const std::u16string& localName) const {
    // Also a thing without any name.
    if (m_pattern.IsOfAll()) {
        return true;
    }
    return IsOfRegistry(entry)
               ? MatchesKey(entry)
               : m_pattern.Matches(entry.source) || m_pattern.Matches(entry.target) ||
                     m_pattern.Matches(localName);
}

bool CRecordPattern::MatchesKey(const SRecordEntry& entry) const {
    const Text name = ValueName(entry.name);
    const Text* const value = entry.thing == "key" ? nullptr : &name;
    return m_pattern.MatchesKey(LongKeyName(entry.source), value) ||
           m_pattern.MatchesKey(entry.target, value) || m_pattern.MatchesKey(entry.source, value);
}

}  // namespace host
