// traversal/reg_traverse.h - a walk through a registry tree, breadth first.
#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "foundation/reg_key.h"
#include "foundation/reg_path.h"
#include "traversal/traverse.h"

// Visits every key below its roots and the values of all of them, the roots' own included: of each
// key first all subkeys, then all values; subkeys are opened later, in the order in which they were
// found. What cannot be opened or enumerated is passed over without a word.
class CRegTraverse : public CTraverse {
public:
    // Add keys to walk, and keys to leave out. Not while a walk runs.
    void AddRoot(const CRegPathW& key) { m_pending.push_back(key); }
    void AddExcluded(const CRegPathW& key) { m_excluded.push_back(key); }
    // Forgets what is left to walk and to leave out.
    void Clear();

protected:
    // Whether the walk goes into this key.
    virtual bool VisitKey(const CRegPathW& path);
    // Come before and behind the values of a key, which stays open meanwhile.
    virtual void BeginValues(const CRegPathW& /*key*/, const CRegKey& /*openKey*/) {}
    virtual void EndValues() {}
    // Whether the walk goes on at all.
    virtual bool VisitValue(const CRegPathW& key, const CStrW& name, std::uint32_t type) = 0;

    void OnProgress(const CRegPathW& path) { Notify(CodeProgress, path.ToString()); }
    // The number goes out under the code of the progress, unlike that of a file walk.
    void OnResult(std::uint64_t value) { Notify(CodeProgress, value); }
    void Run() override;

    // An estimate of the visits of a walk from here: every key, and the values of the keys that
    // have subkeys.
    [[nodiscard]] std::uint32_t EstimateVisits() const;

private:
    void VisitSubKeys(const CRegKey& key, const CRegPathW& path);
    void VisitValues(const CRegKey& key, const CRegPathW& path);
    void VisitEachValue(const CRegKey& key, const CRegPathW& path, std::uint32_t count);
    [[nodiscard]] bool IsExcluded(const CRegPathW& key) const;

    std::deque<CRegPathW> m_pending;
    std::vector<CRegPathW> m_excluded;
};
