// traversal/reg_traverse.h - a walk through a registry tree, breadth first.
#pragma once

#include <cstdint>
#include <deque>

#include "foundation/reg_key.h"
#include "foundation/reg_path.h"
#include "traversal/traverse.h"

// Visits every key below its roots, and the values of all keys, also of the roots. Of each key
// first all subkeys are visited, then all values. Subkeys are opened later, in the order of their
// visits. Keys and values that cannot be opened or enumerated, or whose names are not valid, are
// skipped; OnUnread tells a derived class.
//
// INVARIANT: `m_pending` is the keys that were visited and not yet opened. A key is in it once, and
// the walk ends when it is empty. Only the worker thread touches it during a walk.
class CRegTraverse : public CTraverse {
public:
    // Adds a key to walk. Not during a walk.
    void AddRoot(const CRegPathW& key) { m_pending.push_back(key); }
    // Removes all roots and keys still to walk.
    void Clear() { m_pending.clear(); }

protected:
    // Called before the subkeys of a key, and its values, are visited.
    virtual void BeginKey(const CRegPathW& /*path*/) {}
    // Visits a subkey of that key, which is open. Returns whether the walk goes into it.
    virtual bool VisitKey(const CRegPathW& /*path*/, const CRegKey& /*parent*/) { return true; }
    // Called before and after the values of a key. `openKey` stays open in between.
    virtual void BeginValues(const CRegPathW& /*key*/, const CRegKey& /*openKey*/) {}
    virtual void EndValues() {}
    // Visits a value. Returns whether the walk goes on.
    virtual bool VisitValue(const CRegPathW& key, std::u16string_view name, std::uint32_t type) = 0;

    // Called for a key that cannot be read, or of which some subkey or value cannot be read.
    virtual void OnUnread(const CRegPathW& /*key*/, int /*status*/) {}

    void OnProgress(const CRegPathW& path) { Notify(CodeProgress, path.ToString()); }
    // The number has the code of the progress. In a file walk it has the code of a result. This
    // must stay.
    void OnResult(std::uint64_t value) { Notify(CodeProgress, value); }
    void Run() override;

    // An estimate of the visits of a walk from here: every key, and the values of the keys that
    // have subkeys.
    [[nodiscard]] std::uint32_t EstimateVisits() const;

private:
    void VisitSubKeys(const CRegKey& key, const CRegPathW& path);
    void VisitValues(const CRegKey& key, const CRegPathW& path);
    void VisitEachValue(const CRegKey& key, const CRegPathW& path, std::uint32_t count);

    std::deque<CRegPathW> m_pending;
};
