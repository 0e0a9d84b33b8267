#ifndef FWVET_TOOLS_FWPACK_VIEW_BER_H
#define FWVET_TOOLS_FWPACK_VIEW_BER_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// BER taken apart as far as it goes: tags of one octet and definite lengths, as the device wants them.
namespace fwpack {

/// One element of BER input. The offsets count from the start of that input.
struct BerElement {
  std::uint8_t tag = 0;
  std::size_t offset = 0;
  std::size_t header = 0;  // octets of tag and length
  std::size_t length = 0;  // octets of the content
  [[nodiscard]] std::size_t content() const { return offset + header; }
  [[nodiscard]] std::size_t end() const { return content() + length; }
  [[nodiscard]] bool is_constructed() const { return (tag & 0x20U) != 0; }
};

/// Where BER input is no BER, and why.
struct BerFault {
  std::size_t offset = 0;
  std::string reason{};
};

/// The element at `offset`, which must end at `end` or before. None, and the reason in `*fault` unless that
/// is null, when there is no whole one.
std::optional<BerElement> ReadBer(std::string_view input, std::size_t offset, std::size_t end,
                                  BerFault* fault = nullptr);

/// The elements inside a constructed element, up to the first that is not whole.
std::vector<BerElement> BerChildren(std::string_view input, const BerElement& parent);

/// The first place where the element at the start of the input, or one inside it, is not whole; none when
/// its framing is sound. Takes time linear in the input.
std::optional<BerFault> FindBerFault(std::string_view input);

/// The octets of an element, with or without tag and length.
std::string_view WholeOf(std::string_view input, const BerElement& element);
std::string_view ContentOf(std::string_view input, const BerElement& element);

}  // namespace fwpack

#endif
