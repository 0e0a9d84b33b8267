#include "tools/fwpack/view/message_view.h"

#include <algorithm>

#include "tools/fwpack/der.h"
#include "tools/fwpack/view/ber.h"
#include "tools/fwpack/view/cert_view.h"
#include "tools/fwpack/view/decode_stop.h"
#include "tools/fwpack/view/device_decoder.h"
#include "tools/fwpack/view/name_view.h"
#include "tools/fwpack/view/pem_block.h"
#include "tools/fwpack/view/time_view.h"
#include "tools/fwpack/visible.h"

namespace fwpack {
namespace {

constexpr char kMessage[] = "CMS SignedData";

// The values of an attribute in their order, as the SET that they came in.
std::string ValuesOf(X509_ATTRIBUTE* attribute) {
  std::string values;
  for (int i = 0; i < X509_ATTRIBUTE_count(attribute); ++i) {
    unsigned char* der = nullptr;
    const int length = i2d_ASN1_TYPE(X509_ATTRIBUTE_get0_type(attribute, i), &der);
    if (length > 0) values.append(reinterpret_cast<const char*>(der), static_cast<std::size_t>(length));
    OPENSSL_free(der);
  }
  return DerElement(der_tag::kSet, values);
}

AttributeView ViewAttribute(X509_ATTRIBUTE* attribute) {
  return {.type = ShortName(X509_ATTRIBUTE_get0_object(attribute)), .der = ValuesOf(attribute)};
}

using CountAttributes = int (*)(const CMS_SignerInfo*);
using GetAttribute = X509_ATTRIBUTE* (*)(const CMS_SignerInfo*, int);

std::vector<AttributeView> AttributesOf(const CMS_SignerInfo* signer, CountAttributes count,
                                        GetAttribute get) {
  const int attributes = std::max(count(signer), 0);
  std::vector<AttributeView> views;
  views.reserve(static_cast<std::size_t>(attributes));
  for (int i = 0; i < attributes; ++i) views.push_back(ViewAttribute(get(signer, i)));
  return views;
}

// The only value of the signed attribute `nid`; null when there is none.
const ASN1_TYPE* SignedValue(const CMS_SignerInfo* signer, int nid) {
  const int at = CMS_signed_get_attr_by_NID(signer, nid, -1);
  if (at < 0) return nullptr;
  X509_ATTRIBUTE* attribute = CMS_signed_get_attr(signer, at);
  return X509_ATTRIBUTE_count(attribute) == 1 ? X509_ATTRIBUTE_get0_type(attribute, 0) : nullptr;
}

std::optional<std::string> MessageDigestOf(const CMS_SignerInfo* signer) {
  const ASN1_TYPE* value = SignedValue(signer, NID_pkcs9_messageDigest);
  if (value == nullptr || value->type != V_ASN1_OCTET_STRING) return std::nullopt;
  return OctetsOf(value->value.octet_string);
}

std::optional<TimeView> SigningTimeOf(const CMS_SignerInfo* signer) {
  const ASN1_TYPE* value = SignedValue(signer, NID_pkcs9_signingTime);
  if (value == nullptr) return std::nullopt;
  if (value->type != V_ASN1_UTCTIME && value->type != V_ASN1_GENERALIZEDTIME) return std::nullopt;
  return ViewTime(value->value.asn1_string);
}

SignerView ViewSigner(CMS_SignerInfo* signer) {
  SignerView view;
  ASN1_OCTET_STRING* key_id = nullptr;
  X509_NAME* issuer = nullptr;
  ASN1_INTEGER* serial = nullptr;
  (void)CMS_SignerInfo_get0_signer_id(signer, &key_id, &issuer, &serial);
  view.issuer = ViewName(issuer);
  view.serial = ViewSerial(serial);
  X509_ALGOR* digest = nullptr;
  X509_ALGOR* signature = nullptr;
  CMS_SignerInfo_get0_algs(signer, nullptr, nullptr, &digest, &signature);
  view.digest_algorithm = AlgorithmName(digest);
  view.signature_algorithm = AlgorithmName(signature);
  view.signed_attributes = AttributesOf(signer, CMS_signed_get_attr_count, CMS_signed_get_attr);
  view.unsigned_attributes = AttributesOf(signer, CMS_unsigned_get_attr_count, CMS_unsigned_get_attr);
  view.message_digest = MessageDigestOf(signer);
  view.signing_time = SigningTimeOf(signer);
  view.signature = OctetsOf(CMS_SignerInfo_get0_signature(signer));
  return view;
}

// The certificates of a SignedData where they lie; empty when its lengths are indefinite.
std::vector<BerElement> CertElements(std::string_view der) {
  const auto message = ReadBer(der, 0, der.size());
  if (!message) return {};
  for (const BerElement& content : BerChildren(der, *message)) {
    if (content.tag != der_tag::kContext0) continue;
    const auto signed_data = ReadBer(der, content.content(), content.end());
    if (!signed_data) return {};
    for (const BerElement& field : BerChildren(der, *signed_data)) {
      if (field.tag == der_tag::kContext0) return BerChildren(der, field);
    }
  }
  return {};
}

struct FreeCerts {
  void operator()(STACK_OF(X509) * certs) const { sk_X509_pop_free(certs, X509_free); }
};

// One that is damaged hides the message, and none of the others.
void FillCertsWhereTheyLie(MessageView* view) {
  for (const BerElement& element : CertElements(view->der)) {
    if (element.tag != der_tag::kSequence) continue;
    const std::uint64_t inside = view->encoding == Encoding::kDer ? element.offset : 0;
    view->certs.push_back(ViewCert(WholeOf(view->der, element), view->offset + inside));
  }
}

// Where lengths are indefinite only the decoded message has them.
void FillCertsFromDecoded(MessageView* view) {
  const std::unique_ptr<STACK_OF(X509), FreeCerts> certs(CMS_get1_certs(view->cms.get()));
  for (int i = 0; certs != nullptr && i < sk_X509_num(certs.get()); ++i) {
    view->certs.push_back(
        ViewCert(ToDer(sk_X509_value(certs.get(), i), i2d_X509, "encode a certificate"), view->offset));
  }
}

void Fill(MessageView* view) {
  view->content_type = ShortName(CMS_get0_eContentType(view->cms.get()));
  view->is_detached = CMS_is_detached(view->cms.get()) == 1;
  if (view->certs.empty()) FillCertsFromDecoded(view);
  STACK_OF(CMS_SignerInfo)* signers = CMS_get0_SignerInfos(view->cms.get());
  for (int i = 0; i < sk_CMS_SignerInfo_num(signers); ++i)
    view->signers.push_back(ViewSigner(sk_CMS_SignerInfo_value(signers, i)));
}

// Decodes `view->der`; sets `cms`, or `stop` with an offset inside of the message.
void Decode(MessageView* view) {
  view->device_code = DeviceMessageCode(view->der);
  const auto* begin = reinterpret_cast<const unsigned char*>(view->der.data());
  const auto* at = begin;
  view->cms.reset(d2i_CMS_ContentInfo(nullptr, &at, static_cast<long>(view->der.size())));
  if (view->cms == nullptr) {
    view->stop = DecodeStop(kMessage, view->der, Visible(TakeOpenSslReasons()));
    return;
  }
  if (OBJ_obj2nid(CMS_get0_type(view->cms.get())) != NID_pkcs7_signed) {
    view->stop = {.offset = 0,
                  .reason = std::string("no ") + kMessage + ": its content is '" +
                            ShortName(CMS_get0_type(view->cms.get())) + "'"};
    view->cms.reset();
    return;
  }
  const auto consumed = static_cast<std::size_t>(at - begin);
  if (consumed == view->der.size()) return;
  view->stop = {.offset = consumed,
                .reason = std::to_string(view->der.size() - consumed) + " bytes behind the " + kMessage +
                          " were not read"};
  view->der.resize(consumed);
}

// Takes the message out of PEM text; false with `stop` set when that fails.
bool TakeFromPem(std::string_view text, MessageView* view) {
  view->device_code = LUMO_ERR_FORMAT;
  const auto block = NextPemBlock(UpToZeroByte(text), 0);
  if (block && block->der && (block->label == "CMS" || block->label == "PKCS7")) {
    view->der = *block->der;
    return true;
  }
  view->stop = {.offset = view->offset,
                .reason = block && block->der ? "a PEM signature is labelled 'CMS' or 'PKCS7', not '" +
                                                    Visible(block->label) + "'"
                          : block ? block->fault
                                  : "there is no PEM block"};
  return false;
}

}  // namespace

MessageView ViewMessage(std::string_view bytes, std::uint64_t offset) {
  MessageView view;
  view.offset = offset;
  view.encoding = bytes.starts_with(kPemStart) ? Encoding::kPem : Encoding::kDer;
  if (view.encoding == Encoding::kDer) view.der = bytes;
  if (view.encoding == Encoding::kPem && !TakeFromPem(bytes, &view)) return view;
  Decode(&view);
  if (view.stop) view.stop->offset = offset + (view.encoding == Encoding::kDer ? view.stop->offset : 0);
  FillCertsWhereTheyLie(&view);
  if (view.cms != nullptr) Fill(&view);
  (void)TakeOpenSslReasons();
  return view;
}

}  // namespace fwpack
