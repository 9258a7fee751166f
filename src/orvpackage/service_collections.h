// orvpackage/service_collections.h - services to register, to remove and to control.
#pragma once

#include <cstdint>

#include "foundation/double_null_string.h"
#include "orvpackage/named_items.h"

// What a service manager accepts of a service from elsewhere; anything else becomes what stands
// here: type 0, which leaves the service out of the manifest, start type 4 (disabled), error
// control 1 (normal) and no display name.
[[nodiscard]] std::uint32_t CheckServiceType(std::uint32_t type);
[[nodiscard]] std::uint32_t CheckStartType(std::uint32_t type);
[[nodiscard]] std::uint32_t CheckErrorControl(std::uint32_t control);
[[nodiscard]] CStrW CheckDisplayName(const CStrW& name);

// What there is to say of a service, apart from its name.
struct SOrvService {
    std::uint32_t serviceType = 0;
    std::uint32_t startType = 4;
    std::uint32_t errorControl = 1;
    CStrW displayName;
    CStrW description;
    CStrW binary;
    CStrW arguments;
    CStrW loadOrder;
    CDoubleNullStringW dependencies;
    CStrW username;
    CStrW encryptedPassword;  // as EncryptPassword gives it
};

// A service to register. The numbers are set as they are given: see the checks above.
class COrvCreateService : public COrvNamedItem {
public:
    explicit COrvCreateService(const CStrW& name) : COrvNamedItem(name) {}

    // Needs a type and a program.
    [[nodiscard]] bool IsValid() const override;
    [[nodiscard]] const SOrvService& GetContent() const { return m_content; }

    // Take a text and expand its tokens.
    void SetBinary(const CStrW& text);
    void SetArguments(const CStrW& text);
    void SetServiceType(std::uint32_t type) { m_content.serviceType = type; }
    void SetStartType(std::uint32_t type) { m_content.startType = type; }
    void SetErrorControl(std::uint32_t control) { m_content.errorControl = control; }
    void SetDisplayName(const CStrW& text) { m_content.displayName = text; }
    void SetDescription(const CStrW& text) { m_content.description = text; }
    void SetLoadOrder(const CStrW& text) { m_content.loadOrder = text; }
    void SetDependencies(const CDoubleNullStringW& names) { m_content.dependencies = names; }
    void SetUsername(const CStrW& text) { m_content.username = text; }
    void SetEncryptedPassword(const CStrW& text) { m_content.encryptedPassword = text; }

private:
    SOrvService m_content;
};

class COrvDeleteService : public COrvNamedItem {
public:
    explicit COrvDeleteService(const CStrW& name) : COrvNamedItem(name) {}
};

// A service to start, to stop or to drive otherwise, by the number of an action.
class COrvControlService : public COrvNamedItem {
public:
    explicit COrvControlService(const CStrW& name) : COrvNamedItem(name) {}

    [[nodiscard]] const CDoubleNullStringW& GetArguments() const { return m_arguments; }
    // Takes copies of the strings with their tokens expanded.
    void SetArguments(const CDoubleNullStringW& strings);

    std::uint32_t Action = 1;

private:
    CDoubleNullStringW m_arguments;
};

class COrvCreateServicesCollection
    : public COrvCollectionOf<COrvNamedItemCollection, COrvCreateService> {
public:
    static constexpr EOrvCollection kType = OrvCreateServices;
    explicit COrvCreateServicesCollection(COrvPackage& package)
        : COrvCollectionOf(package, kType, u"Name") {}

protected:
    void WriteItem(CXmlWriter& writer, const COrvItem& item) const override;
    void ReadAttribute(const CStrW& name, const CStrW& value) override;
    bool FinishItem() override;
};

class COrvDeleteServicesCollection
    : public COrvCollectionOf<COrvNamedItemCollection, COrvDeleteService> {
public:
    static constexpr EOrvCollection kType = OrvDeleteServices;
    explicit COrvDeleteServicesCollection(COrvPackage& package)
        : COrvCollectionOf(package, kType, u"Name") {}
};

class COrvControlServicesCollection
    : public COrvCollectionOf<COrvNamedItemCollection, COrvControlService> {
public:
    static constexpr EOrvCollection kType = OrvControlServices;
    explicit COrvControlServicesCollection(COrvPackage& package)
        : COrvCollectionOf(package, kType, u"Name") {}

protected:
    void WriteItem(CXmlWriter& writer, const COrvItem& item) const override;
    void ReadAttribute(const CStrW& name, const CStrW& value) override;
    bool FinishItem() override;
};
