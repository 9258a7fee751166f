#include "foundation/file_path_segment.h"

#include "platform/path_names.h"
#include "platform/status.h"

namespace {

// The part of a name after its last dot; without a dot the whole name.
std::u16string_view AfterDot(std::u16string_view name) { return name.substr(name.rfind(u'.') + 1); }

std::u16string_view WithoutDot(std::u16string_view extension) {
    return extension.substr(extension.starts_with(u'.') ? 1 : 0);
}

}  // namespace

int CFilePathSegmentW::Assign(std::u16string_view name) {
    return AssignChecked(name, platform::IsPathName(name));
}

int CFilePathSegmentW::AssignChecked(std::u16string_view name, bool isValid) {
    if (!isValid) {
        m_name.Clear();
        return ERROR_INVALID_DATA;
    }
    m_name.Assign(name);
    return m_name.GetLength() == name.size() ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
}

bool CFilePathSegmentW::EqualsNoCase(std::u16string_view other) const {
    return m_name.EqualsNoCase(other);
}

int CFilePathSegmentW::CompareExtension(std::u16string_view extension) const {
    return CompareNoCase(AfterDot(m_name.View()), WithoutDot(extension));
}

bool HasExtension(std::u16string_view name, std::u16string_view extension) {
    return EqualsNoCase(AfterDot(name), WithoutDot(extension));
}

CStrW CFilePathSegmentW::GetStem() const {
    // Without a dot rfind gives npos, and substr the whole name.
    const std::u16string_view name = m_name.View();
    return CStrW(name.substr(0, name.rfind(u'.')));
}

bool CFilePathSegmentW::SetExtensionOrv() {
    // May be invalid, because the new name may have more than 260 units.
    const CStrW name = GetStem() + u".orv";
    if (!platform::IsPathName(name)) {
        return false;
    }
    m_name = name;
    return true;
}

int CMachineNameW::Assign(std::u16string_view name) {
    return AssignChecked(name, platform::IsServerName(name));
}
