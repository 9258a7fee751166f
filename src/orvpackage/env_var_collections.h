// orvpackage/env_var_collections.h - environment variables to set and to remove.
#pragma once

#include <cstdint>

#include "orvpackage/named_items.h"

// A variable of the machine, or of the user: one name may stand once for each.
class COrvEnvVarItem : public COrvNamedItem {
public:
    [[nodiscard]] bool IsUser() const { return m_isUser; }

protected:
    COrvEnvVarItem(const CStrW& variable, bool isUser)
        : COrvNamedItem(variable, isUser ? u"1" : u"0"), m_isUser(isUser) {}

private:
    bool m_isUser;
};

class COrvDeleteEnvVar : public COrvEnvVarItem {
public:
    COrvDeleteEnvVar(const CStrW& variable, bool isUser) : COrvEnvVarItem(variable, isUser) {}
};

class COrvCreateEnvVar : public COrvEnvVarItem {
public:
    COrvCreateEnvVar(const CStrW& variable, bool isUser) : COrvEnvVarItem(variable, isUser) {}

    // Needs a value.
    [[nodiscard]] bool IsValid() const override;
    [[nodiscard]] const CStrW& GetValue() const { return m_value; }
    // Takes a text and expands its tokens.
    void SetValue(const CStrW& text);

private:
    CStrW m_value;

public:
    std::uint8_t InstallMode = 0;
};

// A collection whose items' elements hold a "Variable" and whether it is the "User"'s.
class COrvEnvVarCollection : public COrvNamedItemCollection {
protected:
    COrvEnvVarCollection(COrvPackage& package, EOrvCollection type)
        : COrvNamedItemCollection(package, type, u"Variable") {}

    void WriteItem(CXmlWriter& writer, const COrvItem& item) const override;
    void ReadAttribute(const CStrW& name, const CStrW& value) override;
};

class COrvCreateEnvVarsCollection : public COrvEnvVarCollection {
public:
    static constexpr EOrvCollection kType = OrvCreateEnvVars;
    explicit COrvCreateEnvVarsCollection(COrvPackage& package)
        : COrvEnvVarCollection(package, kType) {}

    // Adds a variable without a value and lends it; null for a double.
    COrvCreateEnvVar* AddItem(const CStrW& variable, bool isUser) {
        return AddOwned(Make<COrvCreateEnvVar>(variable, isUser));
    }

protected:
    void WriteItem(CXmlWriter& writer, const COrvItem& item) const override;
    void ReadAttribute(const CStrW& name, const CStrW& value) override;
    bool FinishItem() override;
};

class COrvDeleteEnvVarsCollection : public COrvEnvVarCollection {
public:
    static constexpr EOrvCollection kType = OrvDeleteEnvVars;
    explicit COrvDeleteEnvVarsCollection(COrvPackage& package)
        : COrvEnvVarCollection(package, kType) {}

    // Adds an item and lends it; null for a double.
    COrvDeleteEnvVar* AddItem(const CStrW& variable, bool isUser) {
        return AddOwned(Make<COrvDeleteEnvVar>(variable, isUser));
    }

protected:
    bool FinishItem() override;
};
