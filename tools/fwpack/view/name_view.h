#ifndef FWVET_TOOLS_FWPACK_VIEW_NAME_VIEW_H
#define FWVET_TOOLS_FWPACK_VIEW_NAME_VIEW_H

#include "tools/fwpack/view/views.h"

// Names, serial numbers and identifiers as the views hold them.
namespace fwpack {

/// A decoded name; null: none.
NameView ViewName(const X509_NAME* name);

/// A decoded serial number; null: none.
SerialView ViewSerial(const ASN1_INTEGER* serial);

/// Octets in lower-case hexadecimal.
std::string Hex(std::string_view octets);

/// What an algorithm is called ("sha256WithRSAEncryption"), or its dotted identifier.
std::string AlgorithmName(const ASN1_OBJECT* algorithm);
std::string AlgorithmName(const X509_ALGOR* algorithm);

/// The short name of an identifier ("codeSigning"), or the dotted form.
std::string ShortName(const ASN1_OBJECT* identifier);

/// The octets of a decoded string; none for null.
std::string OctetsOf(const ASN1_STRING* text);

}  // namespace fwpack

#endif
