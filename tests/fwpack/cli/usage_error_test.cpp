#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "tests/support/json_schema.h"
#include "tools/fwpack/cli/app.h"

namespace {

struct Said {
  int status = -1;
  std::string out{};
  std::string err{};
};

Said RunWith(const std::vector<std::string>& arguments) {
  std::ostringstream out;
  std::ostringstream err;
  const int status = fwpack::RunProgram(arguments, out, err);
  return {status, out.str(), err.str()};
}

struct UsageCase {
  const char* name;
  std::vector<std::string> arguments;
  const char* error;
};

class UsageError : public testing::TestWithParam<UsageCase> {};

TEST_P(UsageError, IsOneLineThatNamesWhatIsWrongAndWhatToType) {
  const Said said = RunWith(GetParam().arguments);
  EXPECT_EQ(said.status, 3);
  EXPECT_EQ(said.out, "");
  EXPECT_EQ(said.err, std::string(GetParam().error) + "\n");
}

INSTANTIATE_TEST_SUITE_P(
    Programs, UsageError,
    testing::Values(
        UsageCase{"NoCommand", {}, "fwpack: no command given; see fwpack --help"},
        UsageCase{"UnknownCommand", {"sing"}, "fwpack: unknown command 'sing'; did you mean 'sign'?"},
        UsageCase{"UnknownCommandWithOptions",
                  {"sing", "--root", "x"},
                  "fwpack: unknown command 'sing'; did you mean 'sign'?"},
        UsageCase{"UnknownOptionBehindTooManyArguments",
                  {"devpki", "a", "b", "--signer", "2"},
                  "fwpack devpki: unknown option '--signer'; did you mean '--signers'?"},
        UsageCase{
            "NoCommandOfACommand", {"flash", "x"}, "fwpack flash: no command given; see fwpack flash --help"},
        UsageCase{"OptionTwice",
                  {"check", "a", "--root", "x", "--root", "y"},
                  "fwpack check: --root: is given more than once; see fwpack check --help"},
        UsageCase{"OptionWithoutValue",
                  {"check", "a", "--root"},
                  "fwpack check: --root: wants a FILE; see fwpack check --help"},
        UsageCase{"TwoSourcesOfAPassphrase",
                  {"sign", "--content", "a", "--out", "b", "--crl", "c", "--signer-key", "d",
                   "--passphrase-file", "x", "--passphrase-env", "y"},
                  "fwpack sign: --passphrase-file excludes --passphrase-env; see fwpack sign --help"},
        UsageCase{"CommandLikeNone", {"weather"}, "fwpack: unknown command 'weather'; see fwpack --help"},
        UsageCase{"UnknownTopOption", {"--hlp"}, "fwpack: unknown option '--hlp'; did you mean '--help'?"},
        UsageCase{"UnknownOption",
                  {"sign", "--crll", "x"},
                  "fwpack sign: unknown option '--crll'; did you mean '--crl'?"},
        UsageCase{"UnknownOptionWithItsValue",
                  {"sign", "--contnt=app.img"},
                  "fwpack sign: unknown option '--contnt'; did you mean '--content'?"},
        UsageCase{"OptionWithOneDash",
                  {"sign", "-content", "app.img"},
                  "fwpack sign: unknown option '-content'; did you mean '--content'?"},
        UsageCase{"OptionOfAnotherCommand",
                  {"root", "--subject-prefix", "x"},
                  "fwpack root: unknown option '--subject-prefix'; see fwpack root --help"},
        UsageCase{"TooManyArguments",
                  {"devpki", "a", "b"},
                  "fwpack devpki: nothing takes the argument 'b'; see fwpack devpki --help"},
        UsageCase{"NoNumber",
                  {"devpki", "a", "--signers", "many"},
                  "fwpack devpki: --signers: 'many' is no whole number; see fwpack devpki --help"},
        UsageCase{
            "NoneOfTheChoices",
            {"devpki", "a", "--digest", "sha1"},
            "fwpack devpki: --digest: 'sha1' is none of sha256, sha384, sha512; see fwpack devpki --help"},
        UsageCase{
            "NoTime",
            {"crl", "--pki", "a", "--out", "b", "--this-update", "soon"},
            "fwpack crl: --this-update: 'soon' is no time; write it like 2026-11-21T10:30:00Z (UTC); see "
            "fwpack crl --help"},
        UsageCase{"MissingArgument", {"root"}, "fwpack root: CERT is required; see fwpack root --help"},
        UsageCase{
            "MissingOption", {"crl", "--out", "b"}, "fwpack crl: --pki is required; see fwpack crl --help"},
        UsageCase{"MissingValue", {"crl", "--pki"}, "fwpack crl: --pki: wants a DIR; see fwpack crl --help"},
        UsageCase{"ControlCharacters",
                  {"sign", "--\x1b[2J\n"},
                  "fwpack sign: unknown option '-- [2J '; see fwpack sign --help"}),
    [](const auto& usage) { return std::string(usage.param.name); });

TEST(ErrorLine, KeepsUtf8ButNothingThatATerminalObeys) {
  const Said said = RunWith({"inspect",
                             "/gr\xC3\xBC\xC3\x9F\xC2\x9B"
                             "2J\x1B[2J\xC2\xA7"});
  EXPECT_EQ(said.status, 3);
  EXPECT_THAT(said.err, testing::StartsWith("fwpack: /gr\xC3\xBC\xC3\x9F  2J [2J\xC2\xA7: "));
}

class Failure : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Programs, Failure, testing::Values("check", "flash", "inspect"));

TEST_P(Failure, IsADocumentForThoseWhoAskForJson) {
  const std::string command = GetParam();
  const Said said = RunWith({command, "--json", "--bogus"});
  EXPECT_EQ(said.status, 3);
  const auto document = CheckedDocument(command, said.out);
  EXPECT_EQ(document["schema"], "fwpack-" + command);
  EXPECT_EQ(document["schemaVersion"], 1);
  EXPECT_EQ(document["exitStatus"], 3);
  EXPECT_EQ(document["error"]["message"].get<std::string>() + "\n", said.err);
}

TEST(Failure, IsAnOutputThatCannotBeWritten) {
  std::ofstream full("/dev/full");
  std::ostringstream err;
  EXPECT_EQ(fwpack::RunProgram({"--version"}, full, err), 3);
  EXPECT_EQ(err.str(), "fwpack: standard output cannot be written\n");
}

TEST(Failure, IsALineAloneForTheRest) {
  EXPECT_EQ(RunWith({"check", "--bogus"}).out, "");
  EXPECT_EQ(RunWith({"sign", "--json"}).out, "");
  EXPECT_EQ(RunWith({"check", "--", "--json"}).out, "");
}

TEST(Failure, OfAnInputIsADocumentToo) {
  const Said said = RunWith({"flash", "nowhere/image", "list", "--json"});
  EXPECT_EQ(said.status, 3);
  EXPECT_EQ(CheckedDocument("flash", said.out)["error"]["message"],
            "nowhere/image: cannot be opened: No such file or directory");
}

}  // namespace

TEST(Program, TellsItsVersion) {
  const Said said = RunWith({"--version"});
  EXPECT_EQ(said.status, 0);
  EXPECT_THAT(said.out, testing::MatchesRegex("fwpack [0-9]+\\.[0-9]+\\.[0-9]+\n"));
  EXPECT_EQ(said.err, "");
}

TEST(Program, ExplainsItsExitStatuses) {
  const Said said = RunWith({"--help"});
  EXPECT_EQ(said.status, 0);
  for (const char* status : {"\n  0  ", "\n  1  ", "\n  2  ", "\n  3  "}) {
    EXPECT_THAT(said.out, testing::HasSubstr(status));
  }
}

TEST(Program, HelpsEvenWhenOtherArgumentsAreWrong) {
  const Said said = RunWith({"sign", "--crll", "--help"});
  EXPECT_EQ(said.status, 0);
  EXPECT_THAT(said.out, testing::HasSubstr("Usage: fwpack sign"));
}
