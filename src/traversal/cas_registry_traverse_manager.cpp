#include "traversal/cas_registry_traverse_manager.h"

#include <algorithm>

#include "foundation/reg_access.h"
#include "platform/status.h"

namespace {

constexpr std::u16string_view kVirtualStatus = u"CitrixAIEKeyVirtualStatus";
constexpr std::u16string_view kDeletedValues = u"CitrixAIEDeletedValues";
constexpr std::u16string_view kInstallProperties = u"InstallProperties";

// The modes of entries for the processors.
constexpr std::uint32_t kModeCreate = 1;
constexpr std::uint32_t kModeDelete = 3;

// Whether the isolated view has deleted a value. Its list of deleted values also has values that
// came back, and a position in the list counts only if it is greater than the one for "not found".
// No position is. So the answer is always no, and the list, which may be long, is not searched.
// This must stay.
constexpr bool IsDeleted() { return false; }

// A status hides its key when its highest set bit is the third one.
bool StatusIsHidden(std::uint32_t status) { return status >= 4 && status <= 7; }

}  // namespace

CCasRegistryTraverseManager::CCasRegistryTraverseManager(CAssemblyProcessor& assemblyProcessor,
                                                         CServiceProcessor& serviceProcessor,
                                                         COrvPackage& package, bool is64Bit)
    : m_assemblyProcessor(assemblyProcessor),
      m_serviceProcessor(serviceProcessor),
      m_package(package),
      m_items(package, is64Bit ? OrvArchitectureX64 : OrvArchitectureX86),
      m_sid(GetCurrentUserSid()),
      m_mountedKeys(m_sid),
      m_mount(CMountedKeys::kMount) {}

// The worker thread uses the fields of this class, so it ends before they do.
CCasRegistryTraverseManager::~CCasRegistryTraverseManager() { Stop(true); }

void CCasRegistryTraverseManager::ShowKey(const CRegPathW& key) {
    if (m_progress) {
        m_progress->SetMessage(key.View());
        m_progress->Step();
    }
}

void CCasRegistryTraverseManager::ShowValue(const CRegPathW& key, std::u16string_view name) {
    if (!m_progress) {
        return;
    }
    // The path of the key is in the message once for all of its values.
    if (m_valueKey.messageStart == 0) {
        m_progress->SetMessage(key.View());
        m_progress->SetMessageEnd(key.View().size(), uR"(\)");
        m_valueKey.messageStart = key.View().size() + 1;
    }
    m_progress->SetMessageEnd(m_valueKey.messageStart, name);
    m_progress->Step();
}

void CCasRegistryTraverseManager::OnFinish() {
    // The stage goes on with the collections as soon as the walk has ended. Runs also if a visit
    // threw.
    m_items.Finish();
    CRegTraverse::OnFinish();
}

// The record names a captured key by its path within the hive.
std::u16string_view CCasRegistryTraverseManager::SourceOf(const CRegPathW& key) {
    const std::u16string_view path = key.ViewSubKey();
    return path.substr(std::min(CMountedKeys::kMount.size() + 1, path.size()));
}

void CCasRegistryTraverseManager::RecordKey(const CRegPathW& key, EReason reason,
                                            const CRegPathW& real) {
    if (CRecord::IsFull()) {
        GetRecord().Add({.thing = EThing::Key,
                         .reason = reason,
                         .source = SourceOf(key),
                         .target = real.ToString()});
    }
}

void CCasRegistryTraverseManager::RecordValue(std::u16string_view name, EReason reason,
                                              int status) {
    GetRecord().Add({.thing = EThing::Value,
                     .reason = reason,
                     .source = m_valueKey.source,
                     .name = name,
                     .status = status});
}

void CCasRegistryTraverseManager::OnUnread(const CRegPathW& key, int status) {
    GetRecord().Add({.thing = EThing::Key,
                     .reason = EReason::KeyUnread,
                     .source = SourceOf(key),
                     .status = status});
}

void CCasRegistryTraverseManager::BeginKey(const CRegPathW& path) {
    m_real = &m_mountedKeys.MapHivePath(path);
}

bool CCasRegistryTraverseManager::VisitKey(const CRegPathW& path, const CRegKey& parent) {
    ShowKey(path);
    const auto [real, isEnvironment] = m_mountedKeys.MapSubKey(path);
    // The hive itself and the root of the user exist on every machine. The keys of variables make
    // no items, only their values do.
    const bool isUserRoot =
        real.GetSegmentCount() == 2 && EqualsNoCase(real.GetSegmentText(1), m_sid);
    if (real.GetSegmentCount() < 2 || isUserRoot || isEnvironment) {
        RecordKey(path,
                  isUserRoot      ? EReason::UserRoot
                  : isEnvironment ? EReason::EnvironmentKey
                                  : EReason::LevelAbove,
                  real);
        return true;
    }
    CRegKey key;
    // A key that cannot be opened has no status and makes an item all the same.
    const bool isHidden = key.OpenSubKey(parent, path.ViewLast()) == ERROR_SUCCESS &&
                          StatusIsHidden(key.QueryNumber(kVirtualStatus));
    if (isHidden) {
        RecordKey(path, EReason::HiddenKey, real);
    } else if (!m_serviceProcessor.CheckKey(real, kModeCreate)) {
        RecordKey(path,
                  m_serviceProcessor.IsService(real) ? EReason::OfService : EReason::BelowService,
                  real);
    } else {
        m_items.AddKey(real.View(), CRecord::IsFull() ? SourceOf(path) : u"");
    }
    return true;
}

void CCasRegistryTraverseManager::BeginValues(const CRegPathW& key, const CRegKey& openKey) {
    m_valueKey.messageStart = 0;
    m_valueKey.isRoot = m_real->path.GetSegmentCount() < 2;
    // Every path of a walk contains the mount. So all variables become those of the user, even the
    // machine's. This must stay.
    m_valueKey.isUserScope = key.Contains(m_mount);
    m_valueKey.isInstallProperties = EqualsNoCase(key.ViewLast(), kInstallProperties);
    m_valueKey.isEnvironment = m_real->isEnvironment;
    m_valueKey.isOfAssemblies = m_assemblyProcessor.TakesValuesOf(key);
    m_valueKey.isOfServices = m_serviceProcessor.TakesValuesOf(key);
    m_valueKey.isHidden = StatusIsHidden(openKey.QueryNumber(kVirtualStatus));
    m_valueKey.key = &openKey;
    m_valueKey.source.Assign(CRecord::IsOn() ? SourceOf(key) : u"");
    // A variable belongs to no key.
    m_items.SetKey(m_valueKey.isEnvironment ? u"" : m_real->path.View(),
                   CRecord::IsFull() ? m_valueKey.source.View() : u"");
}

void CCasRegistryTraverseManager::EndValues() { m_valueKey.key = nullptr; }

bool CCasRegistryTraverseManager::VisitValue(const CRegPathW& key, std::u16string_view name,
                                             std::uint32_t /*type*/) {
    ShowValue(key, name);
    if (EqualsNoCase(name, kVirtualStatus) || EqualsNoCase(name, kDeletedValues) ||
        m_valueKey.isRoot) {
        RecordValue(name, m_valueKey.isRoot ? EReason::LevelAbove : EReason::Bookkeeping);
        return true;
    }
    CStrW text;
    // Values of these keys are items of type REG_SZ or variables, whatever their captured type. One
    // that is no text becomes empty.
    const bool isText = m_valueKey.isInstallProperties || m_valueKey.isEnvironment;
    const int status = isText ? m_valueKey.key->QueryString(name, text)
                              : m_valueKey.key->QueryValue(name, m_buffer);
    if (status != ERROR_SUCCESS && !isText) {
        m_buffer = CRegBuf();
    }
    const bool deleted = IsDeleted();
    // Before the test below, so that a hidden or claimed value names the manufacturer too. If it is
    // kept, it also becomes a value.
    if (m_valueKey.isInstallProperties && EqualsNoCase(name, u"Publisher")) {
        SetManufacturer(text);
    }
    if (m_valueKey.isHidden || IsTaken(key, name, deleted ? kModeDelete : kModeCreate)) {
        RecordValue(name, m_valueKey.isHidden ? EReason::HiddenKey : EReason::OfAssembly);
        return true;
    }
    // Without its data the item would be another value, so it is left out.
    if (status == ERROR_NOT_ENOUGH_MEMORY) {
        RecordValue(name, EReason::NoMemory, status);
        return true;
    }
    if (status != ERROR_SUCCESS && !isText) {
        RecordValue(name, EReason::ValueUnread, status);
    }
    if (m_valueKey.isEnvironment) {
        AddVariable(name, text, deleted);
    } else {
        AddValue(name, text, deleted);
    }
    return true;
}

// Whether one of the processors claims a value.
bool CCasRegistryTraverseManager::IsTaken(const CRegPathW& key, std::u16string_view name,
                                          std::uint32_t mode) {
    return (m_valueKey.isOfAssemblies && !m_assemblyProcessor.CheckValue(key, name, mode)) ||
           (m_valueKey.isOfServices && !m_serviceProcessor.CheckValue(key, name, mode));
}

// The first publisher that is found becomes the manufacturer.
void CCasRegistryTraverseManager::SetManufacturer(const CStrW& publisher) {
    CStrW& manufacturer = m_package.GetProperties().Manufacturer;
    if (manufacturer.IsEmpty()) {
        manufacturer = publisher;
        m_package.GetProperties().SetDirty(true);
    }
}

void CCasRegistryTraverseManager::AddVariable(std::u16string_view name, const CStrW& text,
                                              bool deleted) {
    if (deleted) {
        m_items.AddDeletedVariable(name, m_valueKey.isUserScope);
    } else {
        m_items.AddVariable(name, text, m_valueKey.isUserScope);
    }
}

void CCasRegistryTraverseManager::AddValue(std::u16string_view name, const CStrW& text,
                                           bool deleted) {
    if (deleted) {
        m_items.AddDeletedValue(name);
    } else if (m_valueKey.isInstallProperties) {
        m_items.AddString(name, text);
    } else {
        m_items.AddValue(name, m_buffer.GetData(), m_buffer.GetSize(), m_buffer.GetType());
    }
}
