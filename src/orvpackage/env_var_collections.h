// orvpackage/env_var_collections.h - environment variables to set and to remove.
#pragma once

#include <cstdint>

#include "orvpackage/content_items.h"

// A variable of the user or, without `isUser`, of the machine.
struct SOrvEnvVar {
    CStrW variable;
    bool isUser = false;
    CStrW value;
    std::uint8_t installMode = 0;

    [[nodiscard]] static SAttributes<SOrvEnvVar> GetAttributes();
    [[nodiscard]] bool IsValid() const { return !variable.IsEmpty() && !value.IsEmpty(); }
};

struct SOrvDeletedEnvVar {
    CStrW variable;
    bool isUser = false;

    [[nodiscard]] static SAttributes<SOrvDeletedEnvVar> GetAttributes();
    [[nodiscard]] bool IsValid() const { return !variable.IsEmpty(); }
};

// A variable of the user and one of the machine may have the same name, and are two items.
[[nodiscard]] constexpr std::u16string_view ScopeOfEnvVar(bool isUser) {
    return isUser ? u"1" : u"0";
}

class COrvCreateEnvVar : public COrvItemOf<&SOrvEnvVar::variable> {
public:
    explicit COrvCreateEnvVar(const SOrvEnvVar& content)
        : COrvItemOf(content, ScopeOfEnvVar(content.isUser)) {}
};

class COrvDeleteEnvVar : public COrvItemOf<&SOrvDeletedEnvVar::variable> {
public:
    explicit COrvDeleteEnvVar(const SOrvDeletedEnvVar& content)
        : COrvItemOf(content, ScopeOfEnvVar(content.isUser)) {}
};

using COrvCreateEnvVarsCollection = COrvCollectionOf<COrvCreateEnvVar, OrvCreateEnvVars>;

using COrvDeleteEnvVarsCollection = COrvCollectionOf<COrvDeleteEnvVar, OrvDeleteEnvVars>;
