// Every certificate of Debian's ca-certificates through the library, the RSA ones against OpenSSL.
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/lumo_plt_impl.h"
#include "tests/support/test_pki.h"
#include "verify/asn1/lumo_x509.h"
#include "verify/lumo_plt_proxy.h"

namespace {

using pki::Bytes;

struct Authority {
  std::string file;
  std::shared_ptr<X509> cert;
  Bytes der;
};

std::vector<Authority> Authorities() {
  std::vector<Authority> all;
  for (const auto& entry : std::filesystem::recursive_directory_iterator("/usr/share/ca-certificates")) {
    if (entry.path().extension() != ".crt") continue;
    FILE* file = std::fopen(entry.path().c_str(), "r");
    if (file == nullptr) throw std::runtime_error("cannot open " + entry.path().string());
    const std::shared_ptr<X509> cert(PEM_read_X509(file, nullptr, nullptr, nullptr), X509_free);
    if (std::fclose(file) != 0 || !cert)
      throw std::runtime_error("no certificate in " + entry.path().string());
    Bytes der(static_cast<std::size_t>(i2d_X509(cert.get(), nullptr)));
    unsigned char* out = der.data();
    i2d_X509(cert.get(), &out);
    all.push_back({entry.path().filename(), cert, der});
  }
  return all;
}

// The magnitude of a serial number as the library keeps it: the number 0, which some roots have, is empty.
Bytes Magnitude(const ASN1_INTEGER* number) {
  const unsigned char* octets = ASN1_STRING_get0_data(number);
  const Bytes magnitude(octets, octets + ASN1_STRING_length(number));
  return magnitude == Bytes{0} ? Bytes{} : magnitude;
}

Bytes View(const LUMO_ASN_OCTS& view) {
  return {view.octs, view.octs + view.len};
}

// The encoded subject as the library compares it: type and value of the first attribute of each RDN.
std::vector<std::pair<Bytes, Bytes>> SubjectOf(const X509* cert) {
  std::vector<std::pair<Bytes, Bytes>> attributes;
  const X509_NAME* name = X509_get_subject_name(cert);
  int lastSet = -1;
  for (int i = 0; i < X509_NAME_entry_count(name); ++i) {
    const X509_NAME_ENTRY* entry = X509_NAME_get_entry(name, i);
    if (X509_NAME_ENTRY_set(entry) == lastSet) continue;
    lastSet = X509_NAME_ENTRY_set(entry);
    const ASN1_OBJECT* type = X509_NAME_ENTRY_get_object(entry);
    const ASN1_STRING* value = X509_NAME_ENTRY_get_data(entry);
    const unsigned char* octets = ASN1_STRING_get0_data(value);
    attributes.emplace_back(Bytes(OBJ_get0_data(type), OBJ_get0_data(type) + OBJ_length(type)),
                            Bytes(octets, octets + ASN1_STRING_length(value)));
  }
  return attributes;
}

class CaCertificates : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(lumo_set_callback_funcs(&vrf_.callback_funcs), 0); }

  LUMO_ERROR_CODE Decode(const Authority& authority, LUMO_X509_CERT** cert) {
    TEV_UINT32 consumed = 0;
    const auto size = static_cast<TEV_UINT32>(authority.der.size());
    const LUMO_ERROR_CODE rc = lumo_x509_decode_cert(&vrf_, authority.der.data(), size, cert, &consumed);
    EXPECT_EQ(consumed, rc == LUMO_OK ? size : 0u) << authority.file;
    return rc;
  }

  void ExpectSameNames(const LUMO_X509_CERT& cert, const Authority& authority) {
    const auto expected = SubjectOf(authority.cert.get());
    const auto& names = cert.toBeSigned.subject.names;
    ASSERT_EQ(names.num, expected.size()) << authority.file;
    for (std::size_t i = 0; i < expected.size(); ++i) {
      EXPECT_EQ(View(names.data[i].attrs.data[0].id), expected[i].first) << authority.file;
      EXPECT_EQ(View(names.data[i].attrs.data[0].value), expected[i].second) << authority.file;
    }
  }

  void ExpectSameKey(const LUMO_X509_CERT& cert, const Authority& authority) {
    const pki::Key key(X509_get_pubkey(authority.cert.get()), EVP_PKEY_free);
    LUMO_BIGINT e{};
    LUMO_BIGINT n{};
    ASSERT_EQ(lumo_x509_extract_public_key(&vrf_, &cert, &e, &n), LUMO_OK) << authority.file;
    EXPECT_EQ(Bytes(e.aVal, e.aVal + e.uiLength), pki::ExponentOf(key)) << authority.file;
    EXPECT_EQ(Bytes(n.aVal, n.aVal + n.uiLength), pki::ModulusOf(key)) << authority.file;
  }

  // The library knows SHA-2 with RSA; for these its verdict must be OpenSSL's, for the rest it must decline.
  void ExpectSameSelfSignature(LUMO_X509_CERT* cert, const Authority& authority) {
    TEV_BOOL isSelfSigned = 7;
    const LUMO_ERROR_CODE rc = lumo_x509_is_self_signed(&vrf_, cert, &isSelfSigned);
    const int nid = X509_get_signature_nid(authority.cert.get());
    const bool known = nid == NID_sha256WithRSAEncryption || nid == NID_sha384WithRSAEncryption ||
                       nid == NID_sha512WithRSAEncryption;
    if (!known) {
      EXPECT_EQ(rc, LUMO_ERR_SIGN_ALGO) << authority.file;
      return;
    }
    const pki::Key key(X509_get_pubkey(authority.cert.get()), EVP_PKEY_free);
    EXPECT_EQ(rc, LUMO_OK) << authority.file;
    EXPECT_EQ(isSelfSigned, X509_verify(authority.cert.get(), key.get()) == 1 ? 1u : 0u) << authority.file;
  }

  // A name reads as text unless an attribute type is outside the table.
  void ExpectReadableOrDeclined(const LUMO_X509_CERT& cert, const Authority& authority) {
    TEV_CHAR* text = nullptr;
    TEV_UINT32 length = 0;
    const LUMO_ERROR_CODE rc = lumo_convert_from_x509_name(&vrf_, &cert.toBeSigned.subject, &text, &length);
    if (rc == LUMO_OK) {
      EXPECT_GT(length, 0u) << authority.file;
      lumo_free(&vrf_, text);
    } else {
      EXPECT_EQ(rc, LUMO_ERR_NAME_CONVERT) << authority.file;
    }
  }

  LUMO_VRF vrf_{};
};

bool IsRsa(const Authority& authority) {
  const pki::Key key(X509_get_pubkey(authority.cert.get()), EVP_PKEY_free);
  return key != nullptr && EVP_PKEY_get_base_id(key.get()) == EVP_PKEY_RSA;
}

bool IsVersionOne(const Authority& authority) {
  return X509_get_version(authority.cert.get()) == X509_VERSION_1;
}

TEST_F(CaCertificates, RsaOnesAgreeWithOpenSsl) {
  int seen = 0;
  for (const Authority& authority : Authorities()) {
    if (!IsRsa(authority) || IsVersionOne(authority)) continue;
    ++seen;
    LUMO_X509_CERT* cert = nullptr;
    ASSERT_EQ(Decode(authority, &cert), LUMO_OK) << authority.file;
    EXPECT_EQ(View(cert->toBeSigned.serialNumber), Magnitude(X509_get0_serialNumber(authority.cert.get())))
        << authority.file;
    ExpectSameNames(*cert, authority);
    ExpectSameKey(*cert, authority);
    ExpectSameSelfSignature(cert, authority);
    ExpectReadableOrDeclined(*cert, authority);
    lumo_x509_free_cert(&vrf_, cert);
  }
  EXPECT_GT(seen, 50) << "is the package ca-certificates installed?";
}

// The point of an elliptic curve key begins with another tag than an RSA key; version 1 lacks the version's
// tag.
TEST_F(CaCertificates, OthersFailWithTheCodeOfTheFieldThatTheyLack) {
  int seen = 0;
  for (const Authority& authority : Authorities()) {
    if (IsRsa(authority) && !IsVersionOne(authority)) continue;
    ++seen;
    LUMO_X509_CERT* cert = nullptr;
    EXPECT_EQ(Decode(authority, &cert), IsVersionOne(authority) ? 0xFFFFFFFFu : 0x88300001u)
        << authority.file;
    EXPECT_EQ(cert, nullptr) << authority.file;
  }
  EXPECT_GT(seen, 10) << "is the package ca-certificates installed?";
}

}  // namespace
