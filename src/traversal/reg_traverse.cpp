#include "traversal/reg_traverse.h"

#include <algorithm>

#include "platform/status.h"

namespace {

// Removes the first path of the queue and opens its key. Returns the status of opening.
int OpenNext(std::deque<CRegPathW>& pending, CRegPathW& path, CRegKey& key) {
    path = std::move(pending.front());
    pending.pop_front();
    return key.Open(path);
}

// Whether an enumeration is over. An enumeration that still fails after the last item is over too;
// otherwise a failure that repeats would never end.
bool IsEnd(int status, std::uint32_t index, std::uint32_t count) {
    return status == ERROR_NO_MORE_ITEMS || (status != ERROR_SUCCESS && index >= count);
}

// The path of a subkey; empty when its name is not valid.
CRegPathW PathOf(const CRegPathW& key, const std::u16string& name) {
    const CRegPathSegmentW segment(name);
    return segment.IsEmpty() ? CRegPathW() : CRegPathW(key, segment);
}

}  // namespace

void CRegTraverse::Clear() {
    m_pending.clear();
    m_excluded.clear();
}

bool CRegTraverse::VisitKey(const CRegPathW& /*path*/) { return true; }

bool CRegTraverse::IsExcluded(const CRegPathW& key) const {
    return std::any_of(m_excluded.begin(), m_excluded.end(),
                       [&key](const CRegPathW& excluded) { return excluded.Equals(key); });
}

void CRegTraverse::Run() {
    CRegPathW path;
    while (!IsStopped() && !m_pending.empty()) {
        CRegKey key;
        if (const int status = OpenNext(m_pending, path, key)) {
            // What is below this key is not reached either.
            OnUnread(path, status);
            continue;
        }
        VisitSubKeys(key, path);
        VisitValues(key, path);
    }
}

void CRegTraverse::VisitSubKeys(const CRegKey& key, const CRegPathW& path) {
    platform::SKeyInfo info;
    if (const int status = key.QueryInfo(info)) {
        OnUnread(path, status);
        return;
    }
    std::u16string name;
    for (std::uint32_t i = 0; !IsStopped(); ++i) {
        const int status = key.EnumKey(i, name);
        if (IsEnd(status, i, info.subKeyCount)) {
            return;
        }
        CRegPathW subKey = status == ERROR_SUCCESS ? PathOf(path, name) : CRegPathW();
        // The next index may give a subkey again, so one failure does not end the enumeration.
        if (subKey.IsEmpty()) {
            OnUnread(path, status != ERROR_SUCCESS ? status : ERROR_INVALID_NAME);
        }
        if (!subKey.IsEmpty() && !IsExcluded(subKey) && VisitKey(subKey)) {
            m_pending.push_back(std::move(subKey));
        }
    }
}

void CRegTraverse::VisitValues(const CRegKey& key, const CRegPathW& path) {
    platform::SKeyInfo info;
    // VisitSubKeys has asked the same of this key and has told of a failure.
    if (key.QueryInfo(info) != ERROR_SUCCESS) {
        return;
    }
    BeginValues(path, key);
    VisitEachValue(key, path, info.valueCount);
    EndValues();
}

void CRegTraverse::VisitEachValue(const CRegKey& key, const CRegPathW& path, std::uint32_t count) {
    std::u16string name;
    CStrW text;
    for (std::uint32_t i = 0; !IsStopped(); ++i) {
        std::uint32_t type = REG_NONE;
        const int status = key.EnumValue(i, name, type);
        if (IsEnd(status, i, count)) {
            return;
        }
        // Reuses the storage of the text before.
        text.Assign(name);
        if (status != ERROR_SUCCESS) {
            OnUnread(path, status);
        } else if (!VisitValue(path, text, type)) {
            Stop(false);
        }
    }
}

std::uint32_t CRegTraverse::EstimateVisits() const {
    // Works on a copy, so that the walk still finds its roots. It tells nothing of keys that cannot
    // be read, because the walk will.
    std::deque<CRegPathW> pending = m_pending;
    CRegPathW path;
    std::uint32_t count = 0;
    while (!pending.empty()) {
        CRegKey key;
        platform::SKeyInfo info;
        if (OpenNext(pending, path, key) != ERROR_SUCCESS || key.QueryInfo(info) != ERROR_SUCCESS ||
            // A key without subkeys counts nothing, so its values are missing in the estimate. This
            // must stay: it is the total that hosts see.
            info.longestSubKeyName == 0) {
            continue;
        }
        count += info.valueCount;
        std::u16string name;
        for (std::uint32_t i = 0;; ++i) {
            const int status = key.EnumKey(i, name);
            if (IsEnd(status, i, info.subKeyCount)) {
                break;
            }
            CRegPathW subKey = status == ERROR_SUCCESS ? PathOf(path, name) : CRegPathW();
            if (!subKey.IsEmpty() && !IsExcluded(subKey)) {
                ++count;
                pending.push_back(std::move(subKey));
            }
        }
    }
    return count;
}
