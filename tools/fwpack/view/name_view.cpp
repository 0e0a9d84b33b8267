#include "tools/fwpack/view/name_view.h"

#include "tools/fwpack/error.h"
#include "tools/fwpack/pem_files.h"
#include "tools/fwpack/view/ber.h"
#include "tools/fwpack/view/device_decoder.h"
#include "tools/fwpack/visible.h"

namespace fwpack {
namespace {

// Escapes all but printable ASCII.
std::string LineOf(const X509_NAME* name) {
  const BioPtr memory = NewMemory();
  if (X509_NAME_print_ex(memory.get(), name, 0, XN_FLAG_ONELINE) < 0) {
    (void)TakeOpenSslReasons();
    return "(unreadable)";
  }
  return TakeMemory(memory.get());
}

std::size_t CountRdns(const X509_NAME* name) {
  const int entries = X509_NAME_entry_count(name);
  if (entries <= 0) return 0;
  return static_cast<std::size_t>(X509_NAME_ENTRY_set(X509_NAME_get_entry(name, entries - 1))) + 1;
}

std::string Dotted(const ASN1_OBJECT* identifier) {
  constexpr int kWithoutNames = 1;
  const int length = OBJ_obj2txt(nullptr, 0, identifier, kWithoutNames);
  if (length <= 0) return "(unreadable)";
  std::string text(static_cast<std::size_t>(length) + 1, '\0');
  (void)OBJ_obj2txt(text.data(), static_cast<int>(text.size()), identifier, kWithoutNames);
  text.pop_back();
  return text;
}

std::string NameOr(const ASN1_OBJECT* identifier, const char* (*name_of)(int)) {
  if (identifier == nullptr) return {};
  const int nid = OBJ_obj2nid(identifier);
  const char* name = nid == NID_undef ? nullptr : name_of(nid);
  return name != nullptr ? name : Dotted(identifier);
}

}  // namespace

NameView ViewName(const X509_NAME* name) {
  NameView view;
  if (name == nullptr) return view;
  view.der = ToDer(name, i2d_X509_NAME, "encode a name");
  view.text = Visible(LineOf(name));
  view.device_text = DeviceNameText(view.der);
  view.rdns = CountRdns(name);
  return view;
}

SerialView ViewSerial(const ASN1_INTEGER* serial) {
  if (serial == nullptr) return {};
  const std::string der = ToDer(serial, i2d_ASN1_INTEGER, "encode a serial number");
  const auto element = ReadBer(der, 0, der.size());
  if (!element) return {};
  SerialView view{.octets = std::string(ContentOf(der, *element)), .hex = {}};
  view.hex = Hex(view.octets);
  return view;
}

std::string Hex(std::string_view octets) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(octets.size() * 2);
  for (const char octet : octets) {
    const auto value = static_cast<unsigned char>(octet);
    text += kDigits[value >> 4U];
    text += kDigits[value & 0xFU];
  }
  return text;
}

std::string AlgorithmName(const ASN1_OBJECT* algorithm) {
  return NameOr(algorithm, OBJ_nid2ln);
}

std::string AlgorithmName(const X509_ALGOR* algorithm) {
  if (algorithm == nullptr) return {};
  const ASN1_OBJECT* identifier = nullptr;
  X509_ALGOR_get0(&identifier, nullptr, nullptr, algorithm);
  return AlgorithmName(identifier);
}

std::string ShortName(const ASN1_OBJECT* identifier) {
  return NameOr(identifier, OBJ_nid2sn);
}

std::string OctetsOf(const ASN1_STRING* text) {
  if (text == nullptr) return {};
  return {reinterpret_cast<const char*>(ASN1_STRING_get0_data(text)),
          static_cast<std::size_t>(ASN1_STRING_length(text))};
}

}  // namespace fwpack
