#include "tools/fwpack/keys/pkcs11_uri.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <string_view>
#include <vector>

#include "tools/fwpack/error.h"

namespace fwpack {
namespace {

constexpr std::string_view kScheme = "pkcs11:";

std::vector<std::string_view> Split(std::string_view text, std::string_view separators) {
  std::vector<std::string_view> parts;
  while (!text.empty()) {
    const std::size_t end = text.find_first_of(separators);
    if (end != 0) parts.push_back(text.substr(0, end));
    if (end == std::string_view::npos) break;
    text.remove_prefix(end + 1);
  }
  return parts;
}

int HexDigit(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  return -1;
}

// Into a container of its own kind for what is secret.
template <class Text>
Text PercentDecode(std::string_view text, std::string_view attribute) {
  Text decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      decoded.push_back(text[i]);
      continue;
    }
    const int high = i + 2 < text.size() ? HexDigit(text[i + 1]) : -1;
    const int low = i + 2 < text.size() ? HexDigit(text[i + 2]) : -1;
    if (high < 0 || low < 0) {
      throw Error("the PKCS #11 URI has a % without two hexadecimal digits in its " + std::string(attribute));
    }
    decoded.push_back(static_cast<char>(high * 16 + low));
    i += 2;
  }
  return decoded;
}

constexpr std::string_view kPinValue = "pin-value";

bool AreSameLetter(char left, char right) {
  return std::tolower(static_cast<unsigned char>(left)) == std::tolower(static_cast<unsigned char>(right));
}

// For attributes that are none of those known. Their names are told apart by case, but a slip of the finger
// must not show a PIN in messages.
void RequireNoPinIn(std::string_view attribute) {
  const auto* found =
      std::search(attribute.begin(), attribute.end(), kPinValue.begin(), kPinValue.end(), AreSameLetter);
  if (found == attribute.end()) return;
  throw Error("the PKCS #11 URI has a PIN that is no attribute pin-value by itself; write it like " +
              std::string(kScheme) + "token=...;object=...?pin-value=..., in lower case");
}

std::string FileOfPinSource(std::string source) {
  constexpr std::string_view kFileScheme = "file:";
  if (source.compare(0, kFileScheme.size(), kFileScheme) == 0) source.erase(0, kFileScheme.size());
  if (source.compare(0, 3, "///") == 0) source.erase(0, 2);
  if (source.empty() || source.front() == '|' || source.find("://") != std::string::npos) {
    throw Error("the pin-source of the PKCS #11 URI names no file");
  }
  return source;
}

// False for an attribute that is none of those about the way to the token.
bool TakeAccessAttribute(std::string_view attribute, Pkcs11Uri& uri) {
  const std::size_t equals = std::min(attribute.find('='), attribute.size());
  const std::string_view name = attribute.substr(0, equals);
  const std::string_view value = attribute.substr(std::min(equals + 1, attribute.size()));
  if (name == kPinValue) {
    uri.pin = PercentDecode<SecretBytes>(value, name);
  } else if (name == "pin-source") {
    uri.pin_file = FileOfPinSource(PercentDecode<std::string>(value, name));
  } else if (name == "module-path") {
    uri.module_path = PercentDecode<std::string>(value, name);
  } else {
    RequireNoPinIn(attribute);
    return false;
  }
  return true;
}

std::string JoinObject(const std::vector<std::string>& attributes) {
  std::string object(kScheme);
  for (std::size_t i = 0; i < attributes.size(); ++i) object += (i == 0 ? "" : ";") + attributes[i];
  return object;
}

}  // namespace

bool IsPkcs11Uri(const std::string& text) {
  return strncasecmp(text.c_str(), kScheme.data(), kScheme.size()) == 0;
}

Pkcs11Uri ParsePkcs11Uri(const std::string& text) {
  if (!IsPkcs11Uri(text)) throw Error("a PKCS #11 URI begins with \"pkcs11:\"");
  const std::string_view all = std::string_view(text).substr(kScheme.size());
  const std::size_t question = all.find('?');
  Pkcs11Uri uri;
  std::vector<std::string> attributes;
  for (const std::string_view attribute : Split(all.substr(0, question), ";")) {
    if (!TakeAccessAttribute(attribute, uri)) attributes.emplace_back(attribute);
  }
  uri.object = JoinObject(attributes);
  if (question == std::string_view::npos) return uri;
  for (const std::string_view attribute : Split(all.substr(question + 1), "&;")) {
    if (!TakeAccessAttribute(attribute, uri)) {
      throw Error(uri.object + ": after \"?\" only pin-value, pin-source and module-path are known");
    }
  }
  return uri;
}

std::string CertificateUri(const std::string& key_object) {
  std::vector<std::string> attributes;
  for (const std::string_view attribute : Split(std::string_view(key_object).substr(kScheme.size()), ";")) {
    if (attribute.substr(0, 5) != "type=") attributes.emplace_back(attribute);
  }
  attributes.emplace_back("type=cert");
  return JoinObject(attributes);
}

}  // namespace fwpack
