#include "tools/fwpack/prepared_state.h"

#include <charconv>
#include <string_view>

#include "tools/fwpack/error.h"
#include "tools/fwpack/files.h"
#include "tools/fwpack/pki.h"
#include "tools/fwpack/visible.h"

namespace fwpack {
namespace {

constexpr char kHeading[] = "fwpack-prepared-signature 1";
constexpr std::size_t kMaxState = 256U << 10U;
constexpr char kHexDigits[] = "0123456789abcdef";

std::string ToHex(const std::string& octets) {
  std::string hex;
  for (const char octet : octets) {
    const auto value = static_cast<unsigned char>(octet);
    hex += kHexDigits[value >> 4U];
    hex += kHexDigits[value & 0x0FU];
  }
  return hex;
}

std::string FromHex(const std::string& hex) {
  std::string octets;
  if (hex.size() % 2 != 0) throw Error("has half an octet");
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    const std::size_t high = std::string_view(kHexDigits).find(hex[i]);
    const std::size_t low = std::string_view(kHexDigits).find(hex[i + 1]);
    if (high > 15 || low > 15) throw Error("is not hexadecimal in lower case");
    octets += static_cast<char>(high << 4U | low);
  }
  return octets;
}

std::uint64_t ParseSize(const std::string& text) {
  std::uint64_t size = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, size);
  if (error != std::errc() || stop != end || size == 0 || size > kMaxPackage) {
    throw Error("is no size of content that fits a package");
  }
  return size;
}

std::string ParseDigestValue(const std::string& hex, const EVP_MD* digest) {
  std::string value = FromHex(hex);
  if (value.size() != static_cast<std::size_t>(EVP_MD_get_size(digest))) {
    throw Error("has not the length of its digest");
  }
  return value;
}

SignatureForm ParseForm(const std::string& text) {
  if (text == "der") return SignatureForm::kDer;
  if (text == "pem") return SignatureForm::kPem;
  throw Error("is neither der nor pem");
}

// Only the encoding that was written comes back: what OpenSSL would repair is refused.
CertPtr ParseCert(const std::string& hex) {
  const std::string der = FromHex(hex);
  const auto* in = reinterpret_cast<const unsigned char*>(der.data());
  CertPtr cert(d2i_X509(nullptr, &in, static_cast<long>(der.size())));
  if (cert == nullptr) throw Error("is no certificate: " + TakeOpenSslReasons());
  if (ToDer(cert.get(), i2d_X509, "encode a certificate") != der) throw Error("is no certificate in DER");
  return cert;
}

// Takes a text apart line by line, in the order in which its reader wants the fields.
class Fields {
 public:
  Fields(std::string text, std::string file) : text_(std::move(text)), file_(std::move(file)) {}

  void TakeHeading() {
    const std::string heading = std::string(kHeading) + "\n";
    if (!text_.starts_with(heading)) {
      throw Error(file_ + ": is no state file of `fwpack prepare`, or one of another version");
    }
    at_ = heading.size();
  }

  // The field as `parse` reads it; its errors gain the names of file and field. They may quote the field, and
  // nothing in it is for a terminal to obey.
  template <class Parse>
  auto Take(const std::string& name, Parse parse) {
    const std::string line = TakeLine();
    const std::string start = name + ": ";
    if (!line.starts_with(start)) throw Error(file_ + ": has no field '" + name + "' at its place");
    try {
      return parse(line.substr(start.size()));
    } catch (const Error& error) {
      throw Error(file_ + ": field '" + name + "': " + Visible(error.what()));
    }
  }

  void TakeEnd() const {
    if (at_ != text_.size()) throw Error(file_ + ": has more lines than it must have");
  }

 private:
  std::string TakeLine() {
    const std::size_t end = text_.find('\n', at_);
    if (end == std::string::npos) throw Error(file_ + ": ends too early");
    std::string line = text_.substr(at_, end - at_);
    at_ = end + 1;
    return line;
  }

  std::string text_;
  std::string file_;
  std::size_t at_ = 0;
};

std::string Verbatim(const std::string& text) {
  return text;
}

TailFields TakeTail(Fields& fields) {
  TailFields tail;
  const auto number = [](const std::string& text) { return ParseTailNumber("the number", text); };
  tail.product = fields.Take("product", Verbatim);
  tail.description = fields.Take("description", Verbatim);
  tail.version = fields.Take("package-version", [](const std::string& text) {
    return text.empty() ? std::nullopt : std::optional(ParsePackageVersion(text));
  });
  tail.file_type = fields.Take("file-type", number);
  tail.code_type = fields.Take("code-type", number);
  tail.build_time = fields.Take("build-time", ParseUtcTime);
  return tail;
}

std::vector<CertPtr> TakeCerts(Fields& fields) {
  std::vector<CertPtr> certs;
  certs.push_back(fields.Take("signer", ParseCert));
  CertPtr issuer =
      fields.Take("issuer", [](const std::string& hex) { return hex.empty() ? CertPtr() : ParseCert(hex); });
  if (issuer != nullptr) certs.push_back(std::move(issuer));
  return certs;
}

}  // namespace

std::string FormatPreparedState(const PreparedState& state) {
  std::string text = std::string(kHeading) + "\n";
  const auto add = [&text](const char* name, const std::string& value) {
    text.append(name).append(": ").append(value).append("\n");
  };
  const auto hex_of = [](X509* cert) { return ToHex(ToDer(cert, i2d_X509, "encode a certificate")); };
  const TailFields& tail = state.tail;
  add("content-size", std::to_string(state.content.size));
  add("digest", state.digest);
  add("content-digest", ToHex(state.content.digest));
  add("signing-time", FormatUtcTime(state.signing_time));
  add("signature-form", state.form == SignatureForm::kDer ? "der" : "pem");
  add("product", tail.product);
  add("description", tail.description);
  add("package-version", tail.version ? FormatPackageVersion(*tail.version) : "");
  add("file-type", std::to_string(tail.file_type));
  add("code-type", std::to_string(tail.code_type));
  add("build-time", FormatUtcTime(tail.build_time));
  add("signer", hex_of(state.certs.at(0).get()));
  add("issuer", state.certs.size() > 1 ? hex_of(state.certs[1].get()) : "");
  add("to-be-signed", ToHex(state.attributes));
  return text;
}

PreparedState LoadPreparedState(const std::filesystem::path& file) {
  Fields fields(ReadSmallFile(file, kMaxState), file.string());
  PreparedState state;
  fields.TakeHeading();
  state.content.size = fields.Take("content-size", ParseSize);
  const EVP_MD* digest = nullptr;
  state.digest = fields.Take("digest", [&digest](const std::string& name) {
    digest = DigestNamed(name);
    return name;
  });
  state.content.digest = fields.Take(
      "content-digest", [digest](const std::string& hex) { return ParseDigestValue(hex, digest); });
  state.signing_time = fields.Take("signing-time", ParseUtcTime);
  state.form = fields.Take("signature-form", ParseForm);
  state.tail = TakeTail(fields);
  state.certs = TakeCerts(fields);
  state.attributes = fields.Take("to-be-signed", FromHex);
  fields.TakeEnd();
  if (state.attributes != SignedAttributes(state.content.digest, state.signing_time)) {
    throw Error(file.string() + ": field 'to-be-signed': does not follow from the fields before it");
  }
  try {
    RequireTailFields(state.tail);
  } catch (const Error& error) {
    throw Error(file.string() + ": " + error.what());
  }
  return state;
}

}  // namespace fwpack
