#include "tools/fwpack/check/replay_names.h"

#include "tools/fwpack/openssl_ptr.h"
#include "tools/fwpack/pem_files.h"
#include "tools/fwpack/utc_time.h"
#include "tools/fwpack/visible.h"
#include "verify/asn1/lumo_asn1_def.h"

namespace fwpack {
namespace {

std::string Octets(const LUMO_ASN_OCTS& value) {
  return value.octs == nullptr ? std::string() : std::string(value.octs, value.octs + value.len);
}

// The short name of an attribute type, its number, or "?" for what is none.
std::string TypeText(const LUMO_ASN_OID& type) {
  const std::string content = Octets(type);
  constexpr std::size_t kLongest = 127;  // that a length octet can tell
  if (content.empty() || content.size() > kLongest) return "?";
  const std::string der = std::string{'\x06', static_cast<char>(content.size())} + content;
  const auto* in = reinterpret_cast<const unsigned char*>(der.data());
  const ObjectPtr object(d2i_ASN1_OBJECT(nullptr, &in, static_cast<long>(der.size())));
  if (object == nullptr) return "?";
  if (const int nid = OBJ_obj2nid(object.get()); nid != NID_undef) return OBJ_nid2sn(nid);
  char dotted[128];
  return OBJ_obj2txt(dotted, sizeof dotted, object.get(), 1) > 0 ? dotted : "?";
}

}  // namespace

std::string NameText(const LUMO_X509_NAME& name) {
  std::string text;
  for (TEV_UINT32 i = 0; i < name.names.num; ++i) {
    const auto& attributes = name.names.data[i].attrs;
    for (TEV_UINT32 j = 0; j < attributes.num; ++j) {
      if (!text.empty()) text += j == 0 ? ", " : " + ";
      text += TypeText(attributes.data[j].id) + " = " + Visible(Octets(attributes.data[j].value));
    }
  }
  return text;
}

std::string SerialText(const LUMO_ASN_BIGINT& serial) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string hex;
  for (const char octet : Octets(serial)) {
    const auto value = static_cast<unsigned char>(octet);
    hex += {kDigits[value >> 4U], kDigits[value & 0xFU]};
  }
  return hex.empty() ? "none" : hex;
}

std::string CertText(const LUMO_X509_CERT& cert) {
  const LUMO_X509_CERTINFO& info = cert.toBeSigned;
  return "certificate '" + NameText(info.subject) + "' (serial " + SerialText(info.serialNumber) +
         ", issued by '" + NameText(info.issuer) + "')";
}

std::string CrlText(const LUMO_X509_CRL& crl) {
  const LUMO_X509_CRLINFO& info = crl.tbs_cert_list;
  return "CRL of '" + NameText(info.issuer) + "' (this update " + DeviceTimeText(info.this_update) + ")";
}

std::string SecondsText(TEV_TIME_T seconds) {
  constexpr TEV_TIME_T kLast = 253402300799;  // end of the year 9999
  return seconds < 0 || seconds > kLast ? std::to_string(seconds) + " s" : FormatUtcTime(seconds);
}

std::string DeviceTimeText(const LUMO_ASN_OCTS& time) {
  TEV_TIME_T seconds = 0;
  return lumo_convert_datetime_to_time(&time, &seconds) == LUMO_OK ? SecondsText(seconds) : "no time";
}

}  // namespace fwpack
