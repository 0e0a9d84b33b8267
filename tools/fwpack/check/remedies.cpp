#include "tools/fwpack/check/remedies.h"

#include <algorithm>
#include <array>

namespace fwpack {
namespace {

constexpr char kSignAgain[] = "sign the content again with \"fwpack sign\"";
constexpr char kEncoding[] =
    "look at it with \"fwpack inspect\"; if it is damaged, make it again, in DER with definite lengths";
constexpr char kDamaged[] = "make the package again from undamaged files with \"fwpack sign\"";
constexpr char kReport[] = "run the check again with more memory; if that does not help, report a fault";

constexpr auto kRemedies = std::to_array<Remedy>({
    {LUMO_ERR_MALLOC, kReport},
    {LUMO_ERR_MEMCPY, "sign again with signed attributes that hold a messageDigest, as \"fwpack sign\" does"},
    {LUMO_ERR_SYS_MEM,
     "use an RSA key of at most 4096 bits and a digest of at most 64 bytes, and sign again"},
    {LUMO_ERR_BUF_OVERRUN, kEncoding},
    {LUMO_ERR_TIME_FORMAT,
     "encode the time as UTCTime YYMMDDhhmmssZ or GeneralizedTime YYYYMMDDhhmmssZ, without fractions"},
    {LUMO_ERR_BASE64, "store the signature in DER, or as PEM with base64 lines and nothing between them"},
    {LUMO_ERR_SYS_STR, kReport},
    {LUMO_ERR_LIST_FULL,
     "carry fewer certificates and CRLs: the device keeps 16 of each, and 16 PEM blocks in all; use DER"},
    {LUMO_ERR_PARAM, "give the part that is empty or missing: content, CRL bundle, signature or time-stamp"},
    {LUMO_ERR_CERT_REVOKED,
     "sign and time-stamp with certificates that are not revoked, under CAs that are not"},
    {LUMO_ERR_ISSUER_NOT_FOUND,
     "add the missing CA certificate to the bundle, or use the root under which the signer was issued"},
    {LUMO_ERR_CERT_USAGE,
     "have the certificate issued with keyUsage digitalSignature and codeSigning (signer) or timeStamping "
     "(time stamper) as its first extended key usage"},
    {LUMO_ERR_CRL_NOT_FOUND,
     "add the current CRL of that issuer to the bundle: nextUpdate after the time-stamp, its issuer's "
     "certificate with cRLSign"},
    {LUMO_ERR_CERT_NOT_YET_VALID, "sign with a certificate whose validity includes the time-stamp"},
    {LUMO_ERR_CERT_EXPIRED, "renew the certificate and sign again: its validity must include the time-stamp"},
    {LUMO_ERR_TST_HASH_ALGO, "time-stamp with a SHA-256, SHA-384 or SHA-512 imprint"},
    {LUMO_ERR_DEPTH_EXCEEDED, "issue fewer levels of CAs and let no indirect CRLs vouch for each other"},
    {LUMO_ERR_CRL_DECODE,
     "give a bundle with 1 to 16 CRLs that have a nextUpdate and at most 20 entries each"},
    {LUMO_ERR_CRL_UNVERIFIED, "add the certificate of the CRL's issuer to the bundle"},
    {LUMO_ERR_SIGNATURE_TOO_LONG, "use an RSA key of at most 4096 bits"},
    {LUMO_ERR_SIGNER_NOT_FOUND,
     "carry the signer's certificate in the signature; it must not be self-signed"},
    {LUMO_ERR_FORMAT, "store the signature in DER, or as PEM with the label CMS or PKCS7"},
    {LUMO_ERR_DIGEST_ALGO, "sign with SHA-256, SHA-384 or SHA-512"},
    {LUMO_ERR_NOT_STARTED, "give the message a signer: sign the content with \"fwpack sign\""},
    {LUMO_ERR_SIGNATURE_INVALID, kSignAgain},
    {LUMO_ERR_SIGN_ALGO, "use RSA with SHA-256, SHA-384 or SHA-512 throughout, certificates included"},
    {LUMO_ERR_PKCS7_DECODE, "make a detached CMS signature with at most 2 certificates and 1 signer, in DER"},
    {LUMO_ERR_TSA_NOT_FOUND, "ask the time stamper for its certificate (certReq), or add it to the bundle"},
    {LUMO_ERR_TST_IMPRINT,
     "time-stamp this very signature: the imprint is the digest of its signature value"},
    {LUMO_ERR_TSA_SIGNATURE, "take a new, undamaged time-stamp for this signature"},
    {LUMO_ERR_BER_TAG, kEncoding},
    {LUMO_ERR_BER_TAG_MISMATCH, kEncoding},
    {LUMO_ERR_BER_LENGTH, kEncoding},
    {LUMO_ERR_BER_ELEMENT_MISSING, kEncoding},
    {LUMO_ERR_BER_SEQUENCE, kEncoding},
    {LUMO_ERR_BER_BITS, kEncoding},
    {LUMO_ERR_BER_INTEGER, kEncoding},
    {LUMO_ERR_BER_SET, kEncoding},
    {LUMO_ERR_BER_INTEGER_SIZE, kEncoding},
    {LUMO_ERR_GENERIC, kDamaged},
});

constexpr bool IsAscending() {
  return std::is_sorted(kRemedies.begin(), kRemedies.end(),
                        [](const Remedy& left, const Remedy& right) { return left.code < right.code; });
}
static_assert(IsAscending());

}  // namespace

std::span<const Remedy> Remedies() {
  return kRemedies;
}

const char* RemedyFor(LUMO_ERROR_CODE code) {
  const auto* const row =
      std::lower_bound(kRemedies.begin(), kRemedies.end(), code,
                       [](const Remedy& remedy, LUMO_ERROR_CODE wanted) { return remedy.code < wanted; });
  return row != kRemedies.end() && row->code == code ? row->text : kReport;
}

}  // namespace fwpack
