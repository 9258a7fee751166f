#include "traversal/reg_traverse.h"

#include <numeric>
#include <stack>

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

// A key that is open on the way down, for a count.
struct SOpenKey {
    CRegKey key;
    platform::SKeyInfo info;
    std::uint32_t next = 0;  // the index of the next subkey
};

// The visits of a walk through `root`. Depth first, because to open a key from its parent takes
// less time than by its path. It tells nothing of keys that cannot be read, because the walk will.
std::uint32_t CountVisits(const CRegPathW& root) {
    std::stack<SOpenKey> way;
    std::uint32_t count = 0;
    const auto enter = [&](const auto& open) {
        way.emplace();
        SOpenKey& last = way.top();
        if (open(last.key) != ERROR_SUCCESS || last.key.QueryInfo(last.info) != ERROR_SUCCESS ||
            // A key without subkeys counts nothing, so its values are missing in the estimate. This
            // must stay: it is the total that hosts see.
            last.info.longestSubKeyName == 0) {
            way.pop();
            return;
        }
        count += last.info.valueCount;
    };
    enter([&](CRegKey& key) { return key.Open(root); });
    std::u16string name;
    while (!way.empty()) {
        SOpenKey& last = way.top();
        const std::uint32_t index = last.next++;
        const int status = last.key.EnumKey(index, name);
        if (IsEnd(status, index, last.info.subKeyCount)) {
            way.pop();
        } else if (status == ERROR_SUCCESS && CRegPathSegmentW::IsValid(name)) {
            ++count;
            enter([&](CRegKey& key) { return key.OpenSubKey(last.key, name); });
        }
    }
    return count;
}

}  // namespace

void CRegTraverse::Run() {
    CRegPathW path;
    while (!IsStopped() && !m_pending.empty()) {
        CRegKey key;
        if (const int status = OpenNext(m_pending, path, key)) {
            // What is below this key is not reached either.
            OnUnread(path, status);
            continue;
        }
        BeginKey(path);
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
        // The next index may give a subkey again, so one failure does not end the enumeration.
        if (status != ERROR_SUCCESS || !CRegPathSegmentW::IsValid(name)) {
            OnUnread(path, status != ERROR_SUCCESS ? status : ERROR_INVALID_NAME);
            continue;
        }
        CRegPathW subKey(path, name);
        if (VisitKey(subKey, key)) {
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
    for (std::uint32_t i = 0; !IsStopped(); ++i) {
        std::uint32_t type = REG_NONE;
        const int status = key.EnumValue(i, name, type);
        if (IsEnd(status, i, count)) {
            return;
        }
        if (status != ERROR_SUCCESS) {
            OnUnread(path, status);
        } else if (!VisitValue(path, name, type)) {
            Stop(false);
        }
    }
}

std::uint32_t CRegTraverse::EstimateVisits() const {
    return std::accumulate(
        m_pending.begin(), m_pending.end(), std::uint32_t{0},
        [](std::uint32_t sum, const CRegPathW& root) { return sum + CountVisits(root); });
}
