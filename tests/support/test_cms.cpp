#include "tests/support/test_cms.h"

#include "tests/support/openssl_owned.h"

namespace pki {
namespace {

OwnedBio OpenContent(const CmsSpec& spec) {
  if (spec.content_file.empty()) return ReadFrom(spec.content);
  OwnedBio content(BIO_new_file(spec.content_file.c_str(), "rb"));
  Check(content != nullptr, "open the content");
  return content;
}

// Adds a signer whose signingTime, which OpenSSL would take from the clock, is given.
CMS_SignerInfo* AddSigner(CMS_ContentInfo* cms, const Cert& signer, const std::string& digest,
                          bool attributes, Time signing_time) {
  const unsigned int flags =
      CMS_PARTIAL | CMS_BINARY | CMS_NOCERTS | CMS_NOSMIMECAP | (attributes ? 0U : CMS_NOATTR);
  const OwnedCert cert = ParseCert(signer.der);
  CMS_SignerInfo* info = CMS_add1_signer(cms, cert.get(), signer.key.get(), DigestNamed(digest), flags);
  Check(info != nullptr, "add a signer");
  if (attributes) {
    Check(CMS_signed_add1_attr_by_NID(info, NID_pkcs9_signingTime, V_ASN1_UTCTIME,
                                      MakeTime(signing_time).get(), -1) == 1,
          "add the signing time");
  }
  return info;
}

void AddCerts(CMS_ContentInfo* cms, const std::vector<Cert>& certs) {
  for (const Cert& cert : certs) {
    Check(CMS_add1_cert(cms, ParseCert(cert.der).get()) == 1, "add a certificate to a message");
  }
}

Bytes SignatureOf(CMS_SignerInfo* info) {
  const ASN1_OCTET_STRING* signature = CMS_SignerInfo_get0_signature(info);
  const unsigned char* octets = ASN1_STRING_get0_data(signature);
  return {octets, octets + ASN1_STRING_length(signature)};
}

void AddToken(CMS_SignerInfo* info, const Bytes& token) {
  Check(CMS_unsigned_add1_attr_by_NID(info, NID_id_smime_aa_timeStampToken, V_ASN1_SEQUENCE, token.data(),
                                      static_cast<int>(token.size())) == 1,
        "add a time-stamp token");
}

using OwnedTstInfo = std::unique_ptr<TS_TST_INFO, OsslFree<TS_TST_INFO_free>>;
using OwnedImprint = std::unique_ptr<TS_MSG_IMPRINT, OsslFree<TS_MSG_IMPRINT_free>>;
using OwnedAlgorithm = std::unique_ptr<X509_ALGOR, OsslFree<X509_ALGOR_free>>;
using OwnedGeneralizedTime = std::unique_ptr<ASN1_GENERALIZEDTIME, OsslFree<ASN1_GENERALIZEDTIME_free>>;

OwnedImprint MakeImprint(const TokenSpec& spec, const Bytes& stamped) {
  Bytes hash = DigestOf(spec.imprint_hash, stamped);
  OwnedAlgorithm algorithm(X509_ALGOR_new());
  OwnedImprint imprint(TS_MSG_IMPRINT_new());
  Check(algorithm && imprint, "make an imprint");
  X509_ALGOR_set_md(algorithm.get(), DigestNamed(spec.imprint_hash));
  Check(TS_MSG_IMPRINT_set_algo(imprint.get(), algorithm.get()) == 1 &&
            TS_MSG_IMPRINT_set_msg(imprint.get(), hash.data(), static_cast<int>(hash.size())) == 1,
        "make an imprint");
  return imprint;
}

}  // namespace

Bytes MakeTstInfo(const TokenSpec& spec, const Bytes& stamped) {
  const OwnedImprint imprint = MakeImprint(spec, stamped);
  const OwnedObject policy(OBJ_txt2obj("1.2.3.4.1", 1));
  const OwnedGeneralizedTime time(ASN1_GENERALIZEDTIME_set(nullptr, static_cast<time_t>(spec.time)));
  const OwnedTstInfo info(TS_TST_INFO_new());
  Check(info && policy && time && TS_TST_INFO_set_version(info.get(), 1) == 1 &&
            TS_TST_INFO_set_policy_id(info.get(), policy.get()) == 1 &&
            TS_TST_INFO_set_msg_imprint(info.get(), imprint.get()) == 1 &&
            TS_TST_INFO_set_serial(info.get(), MakeInteger({7}).get()) == 1 &&
            TS_TST_INFO_set_time(info.get(), time.get()) == 1,
        "fill a TSTInfo");
  return ToDer(info.get(), i2d_TS_TST_INFO);
}

Bytes MakeToken(const TokenSpec& spec, const Bytes& stamped) {
  const Bytes tst_info = spec.tst_info.empty() ? MakeTstInfo(spec, stamped) : spec.tst_info;
  const OwnedBio content = ReadFrom(tst_info);
  const OwnedCms cms(CMS_sign(nullptr, nullptr, nullptr, nullptr, CMS_PARTIAL | CMS_BINARY));
  Check(cms && CMS_set1_eContentType(cms.get(), OBJ_nid2obj(NID_id_smime_ct_TSTInfo)) == 1, "begin a token");
  AddSigner(cms.get(), spec.tsa, spec.digest, spec.signed_attributes, spec.time);
  AddCerts(cms.get(), spec.certs);
  Check(CMS_final(cms.get(), content.get(), nullptr, CMS_BINARY) == 1, "sign a token");
  return ToDer(cms.get(), i2d_CMS_ContentInfo);
}

Bytes MakeCms(const CmsSpec& spec) {
  const OwnedBio content = OpenContent(spec);
  const OwnedCms cms(CMS_sign(nullptr, nullptr, nullptr, nullptr, CMS_PARTIAL | CMS_DETACHED | CMS_BINARY));
  Check(cms != nullptr, "begin a message");
  std::vector<CMS_SignerInfo*> infos;
  for (const SignerSpec& signer : spec.signers) {
    const Time time = signer.token ? signer.token->time : Utc(2024, 6, 1);
    infos.push_back(AddSigner(cms.get(), signer.signer, signer.digest, signer.signed_attributes, time));
  }
  AddCerts(cms.get(), spec.certs);
  // Without a signer there is nothing to digest, and CMS_final refuses.
  if (infos.empty()) return ToDer(cms.get(), i2d_CMS_ContentInfo);
  Check(CMS_final(cms.get(), content.get(), nullptr, CMS_BINARY | CMS_DETACHED) == 1, "sign a message");
  for (std::size_t i = 0; i < infos.size(); ++i) {
    const SignerSpec& signer = spec.signers[i];
    if (!signer.raw_token.empty()) AddToken(infos[i], signer.raw_token);
    if (signer.token) AddToken(infos[i], MakeToken(*signer.token, SignatureOf(infos[i])));
  }
  return ToDer(cms.get(), i2d_CMS_ContentInfo);
}

}  // namespace pki
