#include "verify/lumo_cms_parse.h"

#include "verify/asn1/lumo_asn1_decode.h"
#include "verify/asn1/lumo_x509.h"

namespace {

LUMO_ERROR_CODE DecodeEmbedded(const LUMO_VRF* pVrf, const LUMO_ASN_OCTS& raw,
                               LUMO_X509_CERT_BUNDLE* certificates) {
  const LUMO_BER_TAG expected = {.cls = LUMO_X509_CERT_item.ber_class,
                                 .form = LUMO_X509_CERT_item.ber_form,
                                 .code = LUMO_X509_CERT_item.ber_code};
  if (raw.octs == nullptr || raw.tag != expected) return LUMO_ERR_PKCS7_DECODE;
  OwnedCert cert(pVrf);
  TEV_UINT32 consumed = 0;
  if (auto rc = lumo_x509_decode_cert(pVrf, raw.octs, raw.len, cert.out(), &consumed); rc != LUMO_OK)
    return rc;
  if (auto rc = certificates->add(cert.get()); rc != LUMO_OK) return rc;
  static_cast<void>(cert.hand_over());
  return LUMO_OK;
}

}  // namespace

LUMO_ERROR_CODE lumo_pkcs7_decode_signed(const LUMO_VRF* pVrf, const TEV_BYTE* pbEncodedP7,
                                         TEV_UINT32 nEncodedLength, LUMO_PKCS7_CONTENT** ppSign,
                                         TEV_UINT32* bytesDecoded) {
  if (pbEncodedP7 == nullptr || nEncodedLength == 0 || ppSign == nullptr || bytesDecoded == nullptr) {
    return LUMO_ERR_PARAM;
  }
  OwnedMessage message(pVrf);
  TEV_UINT32 consumed = 0;
  if (lumo_decode_as(pVrf, pbEncodedP7, nEncodedLength, LUMO_PKCS7_CONTENT_item, message.out(), &consumed) !=
      LUMO_OK) {
    return LUMO_ERR_PKCS7_DECODE;
  }
  LUMO_PKCS7_SIGNED_DATA& data = message->signed_data;
  for (TEV_UINT32 i = 0; i < data.raw_certs.bundle.num; ++i) {
    if (DecodeEmbedded(pVrf, data.raw_certs.bundle.data[i], &data.certificates) != LUMO_OK) {
      return LUMO_ERR_PKCS7_DECODE;
    }
  }
  *bytesDecoded = consumed;
  *ppSign = message.hand_over();
  return LUMO_OK;
}

void lumo_pkcs7_free_signed(const LUMO_VRF* pVrf, LUMO_PKCS7_CONTENT* pSigned) {
  if (pSigned == nullptr) return;
  pSigned->signed_data.certificates.free_each<lumo_x509_free_cert>(pVrf);
  lumo_asn_free(pVrf, pSigned, &LUMO_PKCS7_CONTENT_item, 0);
}
