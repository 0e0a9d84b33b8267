#include "tools/fwpack/check/diagnosis.h"

#include "tools/fwpack/check/device_messages.h"
#include "tools/fwpack/check/package_blocks.h"
#include "tools/fwpack/check/remedies.h"
#include "tools/fwpack/check/replay.h"
#include "tools/fwpack/check/steps.h"

namespace fwpack {
namespace {

std::string Explain(LUMO_ERROR_CODE code, const std::string& detail) {
  const std::string meaning = lumo_error_meaning(code);
  return detail.empty() ? meaning : meaning + ": " + detail;
}

Reason MakeReason(const Culprit& culprit) {
  return {.step = culprit.step,
          .where = culprit.where,
          .code = culprit.code,
          .explanation = Explain(culprit.code, culprit.detail),
          .remedy = RemedyFor(culprit.code)};
}

Reason CrashReason(const IsolatedRun& run) {
  return {
      .step = steps::kCrash,
      .explanation = "the device's code " + EndBySignal(run) + ": a device would not survive this package",
      .remedy = "keep the package away from devices and report it as a fault of this program"};
}

Reason WordlessReason(const std::filesystem::path& package) {
  if (std::optional<BlockFault> fault = FindBlockFault(package); fault) {
    return {.step = fault->step,
            .where = fault->where,
            .explanation = fault->explanation,
            .remedy = fault->remedy};
  }
  return {.step = steps::kStart,
          .where = "flash image",
          .explanation = "the device ends before it looks at the package: its flash cannot be used",
          .remedy = "look at the image with \"fwpack flash IMAGE verify\""};
}

Reason ContentReason() {
  return {.step = steps::kCompareContent,
          .where = "content",
          .explanation = "the content is not what was signed",
          .remedy = "sign this content, or restore the content that was signed; copy in binary mode"};
}

// What to say when the steps cannot be told apart further.
Culprit PlainCulprit(const DeviceFailure& failure) {
  switch (failure.stage) {
    case Stage::kPackageCrls:
      return {.step = steps::kLoadCrls, .where = "CRL block", .code = failure.code};
    case Stage::kSignature:
      return {.step = steps::kReadSignature, .where = "signature", .code = failure.code};
    case Stage::kContent:
      return {.step = steps::kHashContent, .where = "content", .code = failure.code};
    case Stage::kFinal:
      return {.step = steps::kCompareContent, .where = "content", .code = failure.code};
    case Stage::kRecheck:
      return {.step = steps::kRecheck, .where = "device CRL", .code = failure.code};
    default:
      return {.step = steps::kPrepare, .where = {}, .code = failure.code};
  }
}

bool HasSteps(Stage stage) {
  return stage == Stage::kPackageCrls || stage == Stage::kSignature || stage == Stage::kRecheck;
}

Culprit CulpritOf(const Refusal& refusal, const DeviceFailure& failure) {
  Culprit plain = PlainCulprit(failure);
  if (failure.stage == Stage::kContent && failure.code == LUMO_ERR_PARAM)
    plain.detail = "there is no content";
  if (!HasSteps(failure.stage)) return plain;
  ReplayInput input{.package = refusal.package};
  if (failure.stage == Stage::kRecheck) input.device_crl = refusal.device_crl;
  const std::optional<Culprit> culprit = FindCulprit(input);
  return culprit && culprit->code == failure.code ? *culprit : plain;
}

// The device prints its line about a revocation for whatever the second judgement fails with.
Reason RecheckReason(const Culprit& culprit) {
  Reason reason = MakeReason(culprit);
  const bool is_revoked = culprit.code == LUMO_ERR_CERT_REVOKED;
  reason.explanation += is_revoked ? "; the package's own CRLs do not say so, those on the device do"
                                   : "; the device reports this as a revocation, which it is not";
  if (culprit.step != steps::kRecheck) reason.step = std::string(steps::kRecheck) + ": " + culprit.step;
  return reason;
}

}  // namespace

std::vector<Reason> FindReasons(const Refusal& refusal) {
  if (refusal.process.signal != 0) return {CrashReason(refusal.process)};
  const DeviceRun verbose = RunDevice(refusal.after, {"-v", "-f", refusal.package.string()});
  if (verbose.process.signal != 0) return {CrashReason(verbose.process)};
  const std::string& said = verbose.process.output;
  if (!SaysVerifyFailed(said)) return {WordlessReason(refusal.package)};
  const std::optional<DeviceFailure> failure = LastFailure(said);
  if (!failure) return {ContentReason()};
  const Culprit culprit = CulpritOf(refusal, *failure);
  return {failure->stage == Stage::kRecheck ? RecheckReason(culprit) : MakeReason(culprit)};
}

}  // namespace fwpack
