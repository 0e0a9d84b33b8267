#ifndef FWVET_TOOLS_FWPACK_CHECK_STEPS_H
#define FWVET_TOOLS_FWPACK_CHECK_STEPS_H

// What reasons call the steps of the device's check, in their order.
namespace fwpack::steps {

inline constexpr char kStart[] = "start the device's flash";
inline constexpr char kLastTail[] = "find the tail record at the end of the file";
inline constexpr char kCrlBlock[] = "read the CRL block";
inline constexpr char kSignatureBlock[] = "read the signature block";
inline constexpr char kPrepare[] = "prepare the check";
inline constexpr char kLoadCrls[] = "load the package's CRLs";
inline constexpr char kReadSignature[] = "read the signature";
inline constexpr char kKeepCertificates[] = "keep the certificates of the signature";
inline constexpr char kReadStamp[] = "read the time-stamp";
inline constexpr char kCompareImprint[] = "compare the time-stamp with the signature";
inline constexpr char kKeepStampCertificates[] = "keep the certificates of the time-stamp";
inline constexpr char kFindStamper[] = "find the time stamper's certificate";
inline constexpr char kJudgeStamper[] = "judge the time stamper's certificate";
inline constexpr char kVerifyStamp[] = "verify the time-stamp's signature";
inline constexpr char kFindSigner[] = "find the signer's certificate";
inline constexpr char kJudgeSigner[] = "judge the signer's certificate";
inline constexpr char kVerifySignature[] = "verify the signature";
inline constexpr char kHashContent[] = "hash the content";
inline constexpr char kCompareContent[] = "compare the content with the signature";
inline constexpr char kRecheck[] = "judge the signer again with the device's CRLs";
inline constexpr char kCrash[] = "run the device's code";

}  // namespace fwpack::steps

#endif
