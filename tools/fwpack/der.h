#ifndef FWVET_TOOLS_FWPACK_DER_H
#define FWVET_TOOLS_FWPACK_DER_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// DER from its elements, for the few structures that OpenSSL can only make together with a private key.
namespace fwpack {

namespace der_tag {
constexpr std::uint8_t kOctetString = 0x04;
constexpr std::uint8_t kSequence = 0x30;
constexpr std::uint8_t kSet = 0x31;
constexpr std::uint8_t kContext0 = 0xA0;  // constructed
constexpr std::uint8_t kContext1 = 0xA1;
}  // namespace der_tag

/// One element: tag, length, content.
std::string DerElement(std::uint8_t tag, std::string_view content);

/// A SET OF, or what carries another tag in its place: its elements in the order that DER wants.
std::string DerSetOf(std::uint8_t tag, std::vector<std::string> elements);

}  // namespace fwpack

#endif
