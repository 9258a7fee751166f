// orvpackage/service_collections.h - services to register, to remove and to control.
#pragma once

#include <cstdint>

#include "foundation/double_null_string.h"
#include "orvpackage/named_items.h"

// Values that a service manager accepts are returned unchanged. Any other value becomes type 0,
// which leaves the service out of the manifest, start type 4 (disabled), error control 1 (normal)
// or no display name.
[[nodiscard]] std::uint32_t CheckServiceType(std::uint32_t type);
[[nodiscard]] std::uint32_t CheckStartType(std::uint32_t type);
[[nodiscard]] std::uint32_t CheckErrorControl(std::uint32_t control);
[[nodiscard]] CStrW CheckDisplayName(const CStrW& name);

// A service to register.
struct SOrvService {
    CStrW name;
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

    [[nodiscard]] static SAttributes<SOrvService> GetAttributes();
    [[nodiscard]] bool IsValid() const {
        return !name.IsEmpty() && serviceType != 0 && !binary.IsEmpty();
    }
};

// A service to start, to stop or to drive otherwise, by the number of an action.
struct SOrvServiceControl {
    CStrW name;
    std::uint32_t action = 1;
    CDoubleNullStringW arguments;

    [[nodiscard]] static SAttributes<SOrvServiceControl> GetAttributes();
    [[nodiscard]] bool IsValid() const { return !name.IsEmpty(); }
};

// The numbers and the display name are taken as they are given: see the checks above.
class COrvCreateService : public COrvItemOf<&SOrvService::name> {
    using COrvItemOf::COrvItemOf;
};

class COrvDeleteService : public COrvItemOf<&SOrvName::name> {
    using COrvItemOf::COrvItemOf;
};

class COrvControlService : public COrvItemOf<&SOrvServiceControl::name> {
    using COrvItemOf::COrvItemOf;
};

using COrvCreateServicesCollection = COrvCollectionOf<COrvCreateService, OrvCreateServices>;

using COrvDeleteServicesCollection = COrvCollectionOf<COrvDeleteService, OrvDeleteServices>;

using COrvControlServicesCollection = COrvCollectionOf<COrvControlService, OrvControlServices>;
