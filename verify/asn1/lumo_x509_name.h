#ifndef FWVET_VERIFY_ASN1_LUMO_X509_NAME_H
#define FWVET_VERIFY_ASN1_LUMO_X509_NAME_H

#include "verify/asn1/lumo_x509_templ.h"

// Distinguished names: equal or not, and as text.

/// Compares two names: LUMO_OK when they have as many RDNs and the first attribute of each agrees in type and
/// value, octet for octet (string types, case and further attributes of an RDN do not matter), else
/// LUMO_ERR_GENERIC. LUMO_ERR_PARAM for null.
[[nodiscard]] LUMO_ERROR_CODE lumo_compare_x509_name(const LUMO_VRF* pVrf, const LUMO_X509_NAME* pNameExpect,
                                                     const LUMO_X509_NAME* pNameActual);

/// Turns a name into one line of text, "C=..,O=..,CN=..", of at most 255 characters; whole tails of RDNs that
/// would not fit are dropped.
///
/// The caller frees *ppReadableName with lumo_free. Errors: LUMO_ERR_PARAM; LUMO_ERR_NAME_CONVERT for an
/// attribute type outside the OID table; the allocator's and string callbacks' codes.
[[nodiscard]] LUMO_ERROR_CODE lumo_convert_from_x509_name(const LUMO_VRF* pVrf, const LUMO_X509_NAME* pName,
                                                          TEV_CHAR** ppReadableName, TEV_UINT32* pNameLen);

#endif
