#ifndef FWVET_VERIFY_LUMO_CMS_PARSE_H
#define FWVET_VERIFY_LUMO_CMS_PARSE_H

#include "verify/asn1/lumo_cms_templ.h"
#include "verify/lumo_owned.h"

/// Decodes a ContentInfo with SignedData (a signed message or a time-stamp token) and the certificates in it.
///
/// The caller owns *ppSign (lumo_pkcs7_free_signed) and keeps the input for as long; *bytesDecoded tells the
/// octets consumed. Content type, version and digest algorithms are not compared. Errors: LUMO_ERR_PARAM
/// (null or empty); LUMO_ERR_PKCS7_DECODE for everything malformed, more than two certificates and more than
/// one signer included.
[[nodiscard]] LUMO_ERROR_CODE lumo_pkcs7_decode_signed(const LUMO_VRF* pVrf, const TEV_BYTE* pbEncodedP7,
                                                       TEV_UINT32 nEncodedLength, LUMO_PKCS7_CONTENT** ppSign,
                                                       TEV_UINT32* bytesDecoded);

/// Releases a decoded message and its references to certificates. Null is ignored.
void lumo_pkcs7_free_signed(const LUMO_VRF* pVrf, LUMO_PKCS7_CONTENT* pSigned);

using OwnedMessage = CtxOwned<LUMO_PKCS7_CONTENT, lumo_pkcs7_free_signed>;

#endif
