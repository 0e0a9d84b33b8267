#include "tests/fwpack/sign/sign_arguments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace packtest {

Words Join(const std::vector<Words>& parts) {
  Words all;
  for (const Words& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

Words SignerWords(const std::string& name) {
  return {"--signer-cert", Pki(name + ".pem"), "--signer-key", Pki(name + ".key")};
}

Words LocalStamperWords() {
  return {"--tsa-cert", Pki("tsa.pem"), "--tsa-key", Pki("tsa.key")};
}

Words TrustWords() {
  return {"--crl", Pki("bundle.pem"),     "--root", Pki("root.pem"),
          "--ca",  Pki("issuing-ca.pem"), "--ca",   Pki("tsa-ca.pem")};
}

SignBench::SignBench(const std::string& content) {
  WriteText(dir_ / "content", content);
}

ToolResult SignBench::Run(const std::vector<Words>& parts) {
  return Fwpack(Join(parts),
                {.directory = dir_.path(), .environment = {{"SOURCE_DATE_EPOCH", Seconds(kTime)}}});
}

ToolResult SignBench::Sign(const Words& more) {
  return SignWithoutStamper(Join({LocalStamperWords(), more}));
}

ToolResult SignBench::SignWithoutStamper(const Words& more) {
  return Run({{"sign", "--content", "content", "--out", "package"}, SignerWords(), TrustWords(), more});
}

std::uint32_t SignBench::Verdict() const {
  return Device(ReadText(Pki("root.pem"))).Verify(Package());
}

void ExpectError(const ToolResult& result, int status, const std::string& text) {
  EXPECT_EQ(result.status, status) << result.err;
  EXPECT_EQ(result.out, "");
  EXPECT_THAT(result.err, testing::StartsWith("fwpack"));
  EXPECT_THAT(result.err, testing::HasSubstr(text));
  EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
}

}  // namespace packtest
