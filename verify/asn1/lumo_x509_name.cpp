#include "verify/asn1/lumo_x509_name.h"

#include "verify/asn1/lumo_asn1_def.h"
#include "verify/lumo_owned.h"
#include "verify/lumo_plt_proxy.h"

namespace {

using OwnedText = CtxOwned<TEV_CHAR, lumo_free>;

struct PREFIX {
  LUMO_AOIDS aoid;
  const TEV_CHAR* text;
};

constexpr PREFIX kPrefixes[] = {
    {AOID_AT_COMMONNAME, "CN="},
    {AOID_AT_LOCALITYNAME, "L="},
    {AOID_AT_STATEORPROVINCENAME, "S="},
    {AOID_AT_ORGANIZATIONNAME, "O="},
    {AOID_AT_ORGANIZATIONALUNITNAME, "OU="},
    {AOID_AT_COUNTRYNAME, "C="},
    {AOID_PKCS9_AT_EMAILADDRESS, "E="},
};
constexpr const TEV_CHAR* kOtherPrefix = "xx=";

const TEV_CHAR* PrefixOf(LUMO_AOIDS aoid) {
  for (const PREFIX& prefix : kPrefixes) {
    if (prefix.aoid == aoid) return prefix.text;
  }
  return kOtherPrefix;
}

/// Whether two RDNs begin with the same attribute.
bool SameFirstAttribute(const LUMO_VRF* pVrf, const LUMO_X509_ATTR_BUNDLE& expect,
                        const LUMO_X509_ATTR_BUNDLE& actual) {
  const LUMO_X509_ATTR_ENTRY& left = expect.attrs.data[0];
  const LUMO_X509_ATTR_ENTRY& right = actual.attrs.data[0];
  return lumo_compare_asn_octs(pVrf, &left.id, &right.id) == 0 &&
         lumo_compare_asn_octs(pVrf, &left.value, &right.value) == 0;
}

/// Writes prefix and value into a zeroed buffer of kReadableAttribute characters. A value that fills the
/// buffer gives its last octet to the terminator; one that does not fit leaves the prefix alone.
LUMO_ERROR_CODE _tevMakeReadableAttr(const LUMO_VRF* pVrf, const TEV_CHAR* prefix, const LUMO_ASN_OCTS& value,
                                     TEV_CHAR* readable) {
  if (auto rc = lumo_strcpy_s(pVrf, readable, kReadableAttribute, prefix); rc != LUMO_OK) return rc;
  const TEV_UINT32 used = lumo_strlen(pVrf, prefix);
  const TEV_UINT32 room = kReadableAttribute - used;
  if (value.octs == nullptr || value.len > room) return LUMO_OK;
  if (auto rc = lumo_memcpy_s(pVrf, readable + used, room, value.octs, value.len); rc != LUMO_OK) return rc;
  readable[value.len == room ? kReadableAttribute - 1 : used + value.len] = 0;
  return LUMO_OK;
}

LUMO_ERROR_CODE _tevConvertFromNameAttribute(const LUMO_VRF* pVrf, const LUMO_X509_ATTR_ENTRY& attribute,
                                             TEV_CHAR* readable) {
  const LUMO_AOIDS type = lumo_find_aoid(pVrf, &attribute.id);
  if (type == AOID_UNKNOWN) return LUMO_ERR_NAME_CONVERT;
  return _tevMakeReadableAttr(pVrf, PrefixOf(type), attribute.value, readable);
}

/// Appends the attributes of one RDN to `text` (kReadableName characters) until one no longer fits.
LUMO_ERROR_CODE AppendRdn(const LUMO_VRF* pVrf, const LUMO_X509_ATTR_BUNDLE& rdn, TEV_CHAR* text) {
  for (TEV_UINT32 i = 0; i < rdn.attrs.num; ++i) {
    TEV_CHAR readable[kReadableAttribute] = {};
    if (auto rc = _tevConvertFromNameAttribute(pVrf, rdn.attrs.data[i], readable); rc != LUMO_OK) return rc;
    const TEV_UINT32 used = lumo_strlen(pVrf, text);
    if (used + lumo_strlen(pVrf, readable) + 1 > kReadableName - 1) return LUMO_OK;
    if (used != 0) {
      if (auto rc = lumo_strcat_s(pVrf, text, kReadableName, ","); rc != LUMO_OK) return rc;
    }
    if (auto rc = lumo_strcat_s(pVrf, text, kReadableName, readable); rc != LUMO_OK) return rc;
  }
  return LUMO_OK;
}

}  // namespace

LUMO_ERROR_CODE lumo_compare_x509_name(const LUMO_VRF* pVrf, const LUMO_X509_NAME* pNameExpect,
                                       const LUMO_X509_NAME* pNameActual) {
  if (pNameExpect == nullptr || pNameActual == nullptr) return LUMO_ERR_PARAM;
  if (pNameExpect->names.num != pNameActual->names.num) return LUMO_ERR_GENERIC;
  for (TEV_UINT32 i = 0; i < pNameExpect->names.num; ++i) {
    if (!SameFirstAttribute(pVrf, pNameExpect->names.data[i], pNameActual->names.data[i]))
      return LUMO_ERR_GENERIC;
  }
  return LUMO_OK;
}

LUMO_ERROR_CODE lumo_convert_from_x509_name(const LUMO_VRF* pVrf, const LUMO_X509_NAME* pName,
                                            TEV_CHAR** ppReadableName, TEV_UINT32* pNameLen) {
  if (pName == nullptr || ppReadableName == nullptr || pNameLen == nullptr) return LUMO_ERR_PARAM;
  void* block = nullptr;
  if (auto rc = lumo_malloc_with0(pVrf, &block, kReadableName); rc != LUMO_OK) return rc;
  OwnedText text(pVrf, static_cast<TEV_CHAR*>(block));
  for (TEV_UINT32 i = 0; i < pName->names.num; ++i) {
    if (auto rc = AppendRdn(pVrf, pName->names.data[i], text.get()); rc != LUMO_OK) return rc;
  }
  *pNameLen = lumo_strlen(pVrf, text.get());
  *ppReadableName = text.hand_over();
  return LUMO_OK;
}
