#include "tools/fwpack/external.h"

#include <openssl/err.h>

#include <system_error>

#include "tools/fwpack/error.h"
#include "tools/fwpack/pem_files.h"
#include "tools/fwpack/pki.h"
#include "tools/fwpack/prepared_state.h"

namespace fwpack {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMaxSignatureFile = 64U << 10U;

// The same place in words, for files that are not there yet.
bool IsSamePlace(const fs::path& one, const fs::path& other) {
  std::error_code unknown;
  const fs::path first = fs::weakly_canonical(fs::absolute(one, unknown), unknown);
  const fs::path second = fs::weakly_canonical(fs::absolute(other, unknown), unknown);
  return !first.empty() && first == second;
}

void RequireApart(const fs::path& output, const fs::path& other) {
  std::error_code absent;
  if (fs::equivalent(output, other, absent) || IsSamePlace(output, other)) {
    throw Error(output.string() + ": is named twice, where two files are wanted");
  }
}

void RequireOutputsApart(const PrepareOptions& options) {
  std::vector<fs::path> inputs = options.other_inputs;
  inputs.push_back(options.content);
  for (const fs::path& input : inputs) {
    RequireApart(options.to_be_signed, input);
    RequireApart(options.state, input);
  }
  RequireApart(options.state, options.to_be_signed);
}

void RequireRsa(X509* signer) {
  EVP_PKEY* key = X509_get0_pubkey(signer);
  ERR_clear_error();
  if (key == nullptr || EVP_PKEY_is_a(key, "RSA") != 1) {
    throw Error("the certificate '" + SubjectText(signer) +
                "' has no RSA key; the device knows no other kind");
  }
}

CertPtr Share(X509* cert) {
  RequireOpenSsl(X509_up_ref(cert) == 1, "keep a certificate");
  return CertPtr(cert);
}

// Read before the content is, which may be long.
std::string LoadSignatureValue(const fs::path& file, const PreparedState& state) {
  X509* signer = state.certs.front().get();
  RequireRsa(signer);
  std::string value = ReadSmallFile(file, kMaxSignatureFile);
  const int wanted = EVP_PKEY_get_size(X509_get0_pubkey(signer));
  if (wanted <= 0 || value.size() != static_cast<std::size_t>(wanted)) {
    throw Error(file.string() + ": has " + std::to_string(value.size()) +
                " bytes where a raw signature of this key has " + std::to_string(wanted) +
                "; neither base64 nor hexadecimal is taken");
  }
  if (!IsSignatureOf(signer, DigestNamed(state.digest), state.attributes, value)) {
    throw Error(file.string() + ": is not the signature by '" + SubjectText(signer) +
                "' over the prepared bytes; sign them with PKCS #1 v1.5 and " + state.digest);
  }
  return value;
}

void RequireSameContent(const ContentSummary& found, const PreparedState& state, const fs::path& content) {
  if (found.size != state.content.size || found.digest != state.content.digest) {
    throw Error(content.string() +
                ": is not the content that was prepared; prepare it again or give the old one");
  }
}

}  // namespace

void PrepareSignature(const PrepareOptions& options) {
  RequireOutputsApart(options);
  const SignatureWish& wish = options.signature;
  RequireRsa(wish.signer);
  const EVP_MD* digest = DigestNamed(wish.digest);
  PreparedState state;
  state.digest = wish.digest;
  state.signing_time = wish.time ? *wish.time : Now();
  state.form = wish.form;
  state.tail = TailOf(wish, state.signing_time);
  for (X509* cert : CarriedCerts(wish.signer, wish.ca)) state.certs.push_back(Share(cert));
  OutputFile to_be_signed(options.to_be_signed);
  OutputFile state_file(options.state);
  state.content = ReadContent(options.content, digest, {}, options.progress);
  state.attributes = SignedAttributes(state.content.digest, state.signing_time);
  to_be_signed.Write(state.attributes);
  state_file.Write(FormatPreparedState(state));
  to_be_signed.Commit();
  state_file.Commit();
}

void AttachSignature(const AttachOptions& options) {
  const PreparedState state = LoadPreparedState(options.state);
  const EVP_MD* digest = DigestNamed(state.digest);
  SignatureMessage message{.certs = {}, .digest = digest, .attributes = state.attributes};
  for (const CertPtr& cert : state.certs) message.certs.push_back(cert.get());
  message.value = LoadSignatureValue(options.signature, state);
  PackageWriter writer(options.parts);
  RequireSameContent(writer.CopyContent(digest), state, options.parts.content);
  message.token = options.parts.stamp(message.value, digest);
  writer.Finish(EncodeSignature(message, state.form), state.tail);
}

}  // namespace fwpack
