#ifndef FWVET_TOOLS_FWPACK_VIEW_TIME_VIEW_H
#define FWVET_TOOLS_FWPACK_VIEW_TIME_VIEW_H

#include <string_view>

#include "tools/fwpack/view/views.h"

namespace fwpack {

/// What the characters of a UTCTime or GeneralizedTime mean (X.680, 46 and 47), in whole seconds; none when
/// they are no such time, or one of an unnamed zone. Two-digit years are those of RFC 5280: 1950 to 2049.
std::optional<UtcTime> MeantTime(std::string_view characters, bool generalized);

/// A time from its characters.
TimeView ViewTimeText(std::string_view characters, bool generalized);
/// A decoded time; null: no characters.
TimeView ViewTime(const ASN1_STRING* time);

}  // namespace fwpack

#endif
