#ifndef FWVET_TOOLS_FWPACK_LINT_LINT_TIMES_H
#define FWVET_TOOLS_FWPACK_LINT_LINT_TIMES_H

#include "tools/fwpack/lint/scene.h"

// Times, which the device reads in its own way.
namespace fwpack::lint {

void TimeNotReadable(const Scene& scene, Report& report);
void TimeChangesVerdict(const Scene& scene, Report& report);

}  // namespace fwpack::lint

#endif
