#include "tests/fwpack/fwpack_fixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

#include "platform/lumo_plt_impl.h"
#include "tests/support/openssl_owned.h"
#include "tests/support/test_package.h"
#include "tools/fwpack/error.h"
#include "tools/fwpack/keys/identity.h"
#include "tools/fwpack/pem_files.h"
#include "tools/fwpack/timestamp.h"
#include "verify/lumo.h"

namespace packtest {
namespace {

std::uint32_t U32At(const Bytes& bytes, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4; ++i) value = value << 8U | bytes.at(at + i);
  return value;
}

Bytes Cut(const Bytes& bytes, std::size_t at, std::size_t length) {
  if (at > bytes.size() || length > bytes.size() - at) throw std::runtime_error("a part leaves the package");
  const auto from = bytes.begin() + static_cast<std::ptrdiff_t>(at);
  return {from, from + static_cast<std::ptrdiff_t>(length)};
}

const TEV_BYTE* Data(const std::string& text) {
  return reinterpret_cast<const TEV_BYTE*>(text.data());
}

LUMO_CTX_CREATE_PARAMS Params() {
  LUMO_CTX_CREATE_PARAMS params{};
  params.st_size = sizeof params;
  if (lumo_set_callback_funcs(&params.callback_funcs) != 0) throw std::runtime_error("no callbacks");
  return params;
}

}  // namespace

std::string Seconds(const std::string& time) {
  return std::to_string(fwpack::ParseUtcTime(time));
}

std::filesystem::path Pki(const std::string& name) {
  return std::filesystem::path(FWVET_DEVPKI_DIR) / name;
}

ToolResult OpenSsl(const std::vector<std::string>& arguments) {
  return RunTool(FWVET_OPENSSL_PROGRAM, arguments);
}

ToolResult Fwpack(const std::vector<std::string>& arguments, const ToolSetup& setup) {
  return RunTool(FWVET_FWPACK_PROGRAM, arguments, setup);
}

std::string ErrorOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const fwpack::Error& error) {
    return error.what();
  }
  return "no error";
}

SignFiles SignWith(const std::filesystem::path& content, const std::filesystem::path& package) {
  SignFiles options;
  options.content = content;
  options.package = package;
  options.signer_cert = Pki("signer.pem");
  options.signer_key = Pki("signer.key");
  options.ca = {Pki("issuing-ca.pem"), Pki("tsa-ca.pem")};
  options.tsa_cert = Pki("tsa.pem");
  options.tsa_key = Pki("tsa.key");
  options.crl = Pki("bundle.pem");
  options.time = fwpack::ParseUtcTime(kTime);
  return options;
}

void SignPackage(const SignFiles& files) {
  const fwpack::Identity signer =
      fwpack::LoadIdentity({.key = files.signer_key.string(), .cert = files.signer_cert.string()});
  const fwpack::Identity tsa =
      fwpack::LoadIdentity({.key = files.tsa_key.string(), .cert = files.tsa_cert.string()});
  const std::vector<fwpack::CertPtr> ca = fwpack::LoadAllCerts(files.ca);
  fwpack::SignOptions options{.parts = {.content = files.content,
                                        .package = files.package,
                                        .crl = files.crl,
                                        .judge = files.judge,
                                        .progress = files.progress},
                              .signature = {.signer = signer.cert.get(),
                                            .digest = files.digest,
                                            .form = files.form,
                                            .time = files.time,
                                            .tail = files.tail,
                                            .build_time = files.build_time},
                              .key = signer.key.get()};
  for (const fwpack::CertPtr& cert : ca) options.signature.ca.push_back(cert.get());
  options.parts.stamp = files.stamp;
  if (!files.stamp) {
    options.parts.stamp = [&](const std::string& value, const EVP_MD* digest) {
      fwpack::TimeStamper stamper{.cert = tsa.cert.get(), .key = tsa.key.get(), .digest = digest};
      if (X509* issuer = fwpack::FindCarriedIssuer(stamper.cert, options.signature.ca)) {
        stamper.chain.push_back(issuer);
      }
      return fwpack::MakeTimeStampToken(stamper, value, files.time ? *files.time : fwpack::Now());
    };
  }
  fwpack::SignPackage(options);
}

std::string ReadText(const std::filesystem::path& path) {
  return der::ToText(ReadWholeFile(path));
}

void WriteText(const std::filesystem::path& path, const std::string& text) {
  WriteWholeFile(path, der::FromText(text));
}

std::vector<std::string> NamesIn(const std::filesystem::path& directory) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

Parts Split(const std::filesystem::path& package) {
  using package::kCodeLenAt;
  using package::kEndPad;
  using package::kTailSize;
  using package::kTotalLenAt;
  const Bytes all = ReadWholeFile(package);
  Parts parts;
  parts.end = Cut(all, all.size() - kEndPad, kEndPad);
  parts.crl_tail = Cut(all, all.size() - kEndPad - kTailSize, kTailSize);
  const std::size_t crl_at = all.size() - kEndPad - U32At(parts.crl_tail, kTotalLenAt);
  parts.crl = Cut(all, crl_at, U32At(parts.crl_tail, kCodeLenAt));
  parts.signature_tail = Cut(all, crl_at - kTailSize, kTailSize);
  const std::size_t signature_at = crl_at - U32At(parts.signature_tail, kTotalLenAt);
  parts.signature = Cut(all, signature_at, U32At(parts.signature_tail, kCodeLenAt));
  parts.content = Cut(all, 0, signature_at);
  return parts;
}

Stamp StampOf(const Bytes& message) {
  const pki::OwnedBio stream = pki::ReadFrom(message);
  const pki::OwnedCms cms(d2i_CMS_bio(stream.get(), nullptr));
  pki::Check(cms != nullptr, "decode a message");
  CMS_SignerInfo* signer = sk_CMS_SignerInfo_value(CMS_get0_SignerInfos(cms.get()), 0);
  pki::Check(signer != nullptr, "find the signer");
  Stamp stamp;
  const ASN1_OCTET_STRING* value = CMS_SignerInfo_get0_signature(signer);
  stamp.value.assign(ASN1_STRING_get0_data(value), ASN1_STRING_get0_data(value) + ASN1_STRING_length(value));
  const int at = CMS_unsigned_get_attr_by_NID(signer, NID_id_smime_aa_timeStampToken, -1);
  X509_ATTRIBUTE* attribute = CMS_unsigned_get_attr(signer, at);
  pki::Check(attribute != nullptr, "find the time-stamp");
  const ASN1_TYPE* token = X509_ATTRIBUTE_get0_type(attribute, 0);
  const ASN1_STRING* octets = token->value.sequence;
  stamp.token.assign(ASN1_STRING_get0_data(octets),
                     ASN1_STRING_get0_data(octets) + ASN1_STRING_length(octets));
  return stamp;
}

Device::Device(const std::string& root_pem) {
  const LUMO_CTX_CREATE_PARAMS params = Params();
  if (lumo_verify_create_ctx(&context_, &params) != LUMO_OK) throw std::runtime_error("no context");
  root_status_ = lumo_verify_add_cert(context_, Data(root_pem), static_cast<TEV_UINT32>(root_pem.size()));
}

Device::~Device() {
  (void)lumo_vrf_ctx_free(context_);
}

std::uint32_t Device::Verify(const Parts& parts) {
  const auto size = [](const Bytes& bytes) { return static_cast<TEV_UINT32>(bytes.size()); };
  if (auto rc = lumo_verify_add_crl(context_, parts.crl.data(), size(parts.crl)); rc != LUMO_OK) return rc;
  if (auto rc = lumo_verify_detach_signature_begin(context_, parts.signature.data(), size(parts.signature));
      rc != LUMO_OK) {
    return rc;
  }
  const auto length = static_cast<TEV_INT32>(parts.content.size());
  if (auto rc = lumo_verify_detach_signature_update(context_, parts.content.data(), length); rc != LUMO_OK) {
    return rc;
  }
  TEV_INT32 result = 0;
  const auto rc = lumo_verify_detach_signature_final(context_, &result);
  return rc != LUMO_OK ? rc : (result == 1 ? 0U : 1U);
}

int Device::Compare(const std::string& offered, const std::string& stored) {
  LUMO_CRL_BUNDLE_INFO* bundles[2] = {};
  const std::string* texts[2] = {&offered, &stored};
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_EQ(
        lumo_decode_crl(context_, Data(*texts[i]), static_cast<TEV_UINT32>(texts[i]->size()), &bundles[i]),
        LUMO_OK);
  }
  LUMO_CRL_PERIOD_STAT verdict = SCPS_MIX;
  EXPECT_EQ(lumo_crl_compare(context_, bundles[0], bundles[1], &verdict), LUMO_OK);
  for (LUMO_CRL_BUNDLE_INFO* bundle : bundles) (void)lumo_crl_free(context_, bundle);
  return verdict;
}

}  // namespace packtest
