#ifndef FWVET_TOOLS_FWPACK_LINT_LOOSE_BOOLEANS_H
#define FWVET_TOOLS_FWPACK_LINT_LOOSE_BOOLEANS_H

#include <cstddef>
#include <string_view>

namespace fwpack {

/// How many elements with the universal tag BOOLEAN in this DER are neither 00 nor FF: among its elements,
/// and in OCTET STRINGs that hold nothing but elements, as extensions do. Takes time linear in the input.
std::size_t CountLooseBooleans(std::string_view der);

}  // namespace fwpack

#endif
