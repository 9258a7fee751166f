#include "casmodel/digital_signature.h"

#include "casmodel/element_table.h"

namespace {

constexpr SElement<CCasDigitalSignature> kElements[] = {
    {u"/Enabled", Value<&CCasDigitalSignature::Enabled, ReadBool>},
    {u"/SignatureType", Value<&CCasDigitalSignature::SignatureType, ReadUInt32>},
    // Read as any number; nothing interprets it as a date.
    {u"/ExpirationDate", Value<&CCasDigitalSignature::ExpirationDate, ReadDouble>},
};

}  // namespace

void CCasDigitalSignature::Read(CXmlReader& reader) { ReadElements(kElements, *this, reader); }
