// traversal/cas_registry_traverse_manager.h - the captured registry of a target on its way into the
// package.
#pragma once

#include <cstdint>
#include <memory>

#include "discovery/assembly_processor.h"
#include "discovery/service_processor.h"
#include "foundation/reg_path_converter.h"
#include "orvpackage/package.h"
#include "reporting/progress_event.h"
#include "traversal/mounted_keys.h"
#include "traversal/reg_traverse.h"
#include "traversal/registry_item_queue.h"

// Walks the mounted hive of a target and turns keys and values into items of the output package.
// The mount and the hive's own upper levels are folded away, the capture's bookkeeping values are
// dropped, values of the machine's environment become variables, and keys hidden in the isolated
// view make no items. Visits run on the worker thread while the owner waits. Nothing is reported
// here.
class CCasRegistryTraverseManager : public CRegTraverse {
public:
    // The processors and the package are used, not owned, for the lifetime of the manager.
    // `is64Bit` tells the architecture of every key and value.
    CCasRegistryTraverseManager(CAssemblyProcessor& assemblyProcessor,
                                CServiceProcessor& serviceProcessor, COrvPackage& package,
                                bool is64Bit);
    ~CCasRegistryTraverseManager() override;

    // The total for the progress, which a walk may pass.
    [[nodiscard]] std::uint32_t CountKeys() const { return EstimateVisits(); }
    void SetProgress(std::unique_ptr<CProgressEvent> progress) { m_progress = std::move(progress); }

protected:
    void OnFinish() override;
    bool VisitKey(const CRegPathW& path) override;
    void BeginValues(const CRegPathW& key, const CRegKey& openKey) override;
    void EndValues() override;
    bool VisitValue(const CRegPathW& key, const CStrW& name, std::uint32_t type) override;

private:
    // What all values of one key share.
    struct SValueKey {
        const CRegKey* key = nullptr;
        CStrW mountedText;
        CStrW realText;
        bool isRoot = true;  // nothing is left of the path but its hive
        bool isUserScope = false;
        bool isInstallProperties = false;
        bool isEnvironment = false;
        bool isHidden = false;
        bool isOfAssemblies = false;
        bool isOfServices = false;
    };

    void ShowProgress(std::u16string_view text);
    [[nodiscard]] bool IsTaken(const CRegPathW& key, const CStrW& name, std::uint32_t mode);
    void SetManufacturer(const CStrW& publisher);
    void AddVariable(const CStrW& name, const CStrW& text, bool deleted);
    void AddValue(const CStrW& name, const CStrW& text, bool deleted);

    CAssemblyProcessor& m_assemblyProcessor;
    CServiceProcessor& m_serviceProcessor;
    CSharedHolder<CRegPathConverter> m_pathConverter;
    std::unique_ptr<CProgressEvent> m_progress;
    COrvPackage& m_package;
    CRegistryItemQueue m_items;
    const CStrW m_sid;
    CMountedKeys m_mountedKeys;
    const CRegPathW m_mount;
    SValueKey m_valueKey;
    CStrW m_shown;  // kept, for each value has a text
    CRegBuf m_buffer;
};
