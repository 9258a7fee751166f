// casmodel/digital_signature.h - how a package is signed.
#pragma once

#include <cstdint>

class CXmlReader;

// The signature of a package. The conversion does not use it.
class CCasDigitalSignature {
public:
    virtual ~CCasDigitalSignature() = default;

    void Read(CXmlReader& reader);

    bool Enabled = false;
    std::uint32_t SignatureType = 0;
    double ExpirationDate = 0;
};
