#include "tools/fwpack/keys/passphrase.h"

#include <gmock/gmock.h>
#include <pty.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <thread>

#include "tests/fwpack/keys/keys_fixture.h"

using fwpack::PassphraseReader;
using fwpack::PassphraseSource;
using fwpack::Secret;
using packtest::ErrorOf;
using packtest::Pki;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

class Passphrase : public packtest::KeysTest {
 protected:
  [[nodiscard]] PassphraseSource InFile(const std::string& content) const {
    return {File("passphrase", content), std::nullopt};
  }
  static std::string Read(const PassphraseSource& source) {
    PassphraseReader reader(source, "the.key");
    return std::string(reader.Get().text());
  }
  static std::string ReadError(const PassphraseSource& source) {
    return ErrorOf([&source] { (void)Read(source); });
  }
};

struct Session {
  std::string screen{};
  int status = -1;
};

// Whether the terminal shows what is entered.
bool Echoes(int terminal) {
  termios settings{};
  return tcgetattr(terminal, &settings) != 0 || (settings.c_lflag & static_cast<tcflag_t>(ECHO)) != 0;
}

// Enters `typed` as soon as the terminal hides it; after a while in any case, so that the test can fail.
void Enter(int terminal, const std::string& typed) {
  for (int i = 0; i < 1000 && Echoes(terminal); ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  EXPECT_EQ(write(terminal, typed.data(), typed.size()), static_cast<ssize_t>(typed.size()));
}

// Runs `work` at a terminal of its own.
Session AtTerminal(const std::function<int()>& work, const std::string& typed) {
  int terminal = -1;
  const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
  if (child == 0) _exit(work());
  Enter(terminal, typed);
  Session session;
  char bytes[256];
  for (ssize_t got = read(terminal, bytes, sizeof bytes); got > 0;
       got = read(terminal, bytes, sizeof bytes)) {
    session.screen.append(bytes, static_cast<std::size_t>(got));
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  close(terminal);
  if (WIFEXITED(status)) session.status = WEXITSTATUS(status);
  return session;
}

}  // namespace

TEST_F(Passphrase, IsTheFirstLineOfItsFile) {
  EXPECT_EQ(Read(InFile("secret\nmore\n")), "secret");
  EXPECT_EQ(Read(InFile("secret\r\nmore")), "secret");
  EXPECT_EQ(Read(InFile("secret")), "secret");
  EXPECT_EQ(Read(InFile(" two words \n")), " two words ");
}

TEST_F(Passphrase, FileMayBeAPipe) {
  const std::string pipe = dir_ / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  std::thread writer([&pipe] { packtest::WriteText(pipe, "secret\n"); });
  EXPECT_EQ(Read({pipe, std::nullopt}), "secret");
  writer.join();
}

TEST_F(Passphrase, InAnUnfitFileIsRefusedByTheFilesName) {
  for (const char* empty : {"", "\n", "\r\n", "\nsecret\n"}) {
    EXPECT_THAT(ReadError(InFile(empty)), AllOf(HasSubstr(dir_ / "passphrase"), HasSubstr("is empty")));
  }
  EXPECT_THAT(ReadError({dir_ / "absent", std::nullopt}), HasSubstr("absent: cannot be opened"));
  EXPECT_THAT(ReadError({dir_.path(), std::nullopt}), HasSubstr("cannot be read"));
  EXPECT_THAT(ReadError(InFile(std::string("a\0b\n", 4))), HasSubstr("zero byte"));
}

TEST_F(Passphrase, MayBeAsLongAsItsRoomAndNoLonger) {
  const std::string longest(Secret::kMaxLength, 'x');
  EXPECT_EQ(Read(InFile(longest + "\n")), longest);
  EXPECT_EQ(Read(InFile(longest)), longest);
  EXPECT_THAT(ReadError(InFile(longest + "x\n")), HasSubstr("longer than 1023"));
  EXPECT_THAT(ReadError(InFile(std::string(100000, 'x'))), HasSubstr("longer than 1023"));
}

TEST_F(Passphrase, ComesFromAVariable) {
  ASSERT_EQ(setenv("FWPACK_TEST_PASSPHRASE", "from variable", 1), 0);
  EXPECT_EQ(Read({std::nullopt, "FWPACK_TEST_PASSPHRASE"}), "from variable");
  ASSERT_EQ(setenv("FWPACK_TEST_PASSPHRASE", "", 1), 0);
  EXPECT_THAT(ReadError({std::nullopt, "FWPACK_TEST_PASSPHRASE"}),
              AllOf(HasSubstr("FWPACK_TEST_PASSPHRASE"), HasSubstr("is empty")));
  ASSERT_EQ(unsetenv("FWPACK_TEST_PASSPHRASE"), 0);
  EXPECT_THAT(ReadError({std::nullopt, "FWPACK_TEST_PASSPHRASE"}),
              AllOf(HasSubstr("the.key"), HasSubstr("FWPACK_TEST_PASSPHRASE"), HasSubstr("not set")));
}

TEST_F(Passphrase, FromNowhereIsRefusedWithoutATerminal) {
  EXPECT_THAT(ReadError({}), HasSubstr("the.key: needs a passphrase"));
}

TEST_F(Passphrase, IsAskedForAtTheTerminalWithoutEcho) {
  const Session session = AtTerminal([] { return Read({}) == "typed secret" ? 0 : 1; }, "typed secret\n");
  EXPECT_EQ(session.status, 0);
  EXPECT_THAT(session.screen,
              AllOf(HasSubstr("Enter the passphrase of the.key: "), Not(HasSubstr("typed secret"))));
}

TEST_F(Passphrase, MayNotBeEmptyAtTheTerminal) {
  const Session session =
      AtTerminal([] { return ReadError({}).find("is empty") != std::string::npos ? 0 : 1; }, "\n");
  EXPECT_EQ(session.status, 0);
}

TEST_F(Passphrase, IsNotAskedForAgainWhenNobodyWantsToEnterIt) {
  const std::string key = EncryptedKey();
  for (const char* typed : {"\x03", "\x03\n"}) {
    const Session session = AtTerminal(
        [&key] {
          (void)alarm(30);  // ends a program that waits for more
          const std::string error = ErrorOf([&key] {
            (void)fwpack::LoadIdentity({key, Pki("signer.pem"), {}});
          });
          return error == key + ": no passphrase was entered" ? 0 : 1;
        },
        typed);
    EXPECT_EQ(session.status, 0);
    const std::size_t prompt = session.screen.find("Enter the passphrase");
    EXPECT_NE(prompt, std::string::npos);
    EXPECT_EQ(session.screen.find("Enter the passphrase", prompt + 1), std::string::npos) << session.screen;
  }
}

TEST_F(Passphrase, AtTheTerminalOpensAKey) {
  const std::string key = EncryptedKey();
  const Session session = AtTerminal(
      [&key] {
        return packtest::SignsAs(fwpack::LoadIdentity({key, Pki("signer.pem"), {}}), Pki("signer.pem")) ? 0
                                                                                                        : 1;
      },
      std::string(packtest::kPassphrase) + "\n");
  EXPECT_EQ(session.status, 0);
  EXPECT_THAT(session.screen, Not(HasSubstr(packtest::kPassphrase)));
}

TEST_F(Passphrase, IsWipedWhenItGoes) {
  alignas(Secret) unsigned char room[sizeof(Secret)] = {};
  auto* secret = new (room) Secret;
  ASSERT_TRUE(secret->Assign("wipe me"));
  EXPECT_THAT(std::string(room, room + sizeof room), HasSubstr("wipe me"));
  ASSERT_FALSE(secret->Assign(std::string(Secret::kMaxLength + 1, 'x')));
  EXPECT_EQ(secret->text(), "");
  ASSERT_TRUE(secret->Assign("wipe me"));
  secret->~Secret();
  EXPECT_THAT(std::string(room, room + sizeof room), Not(HasSubstr("wipe")));
}

TEST_F(Passphrase, ForACallbackMustFitItsBuffer) {
  PassphraseReader reader(InFile("secret\n"), "the.key");
  char buffer[7] = {};
  EXPECT_EQ(fwpack::FillPassphrase(buffer, 6, 0, &reader), -1);
  EXPECT_THAT(ErrorOf([&reader] { reader.RethrowFailure(); }), HasSubstr("too long"));
  EXPECT_EQ(fwpack::FillPassphrase(buffer, sizeof buffer, 0, &reader), 6);
  EXPECT_STREQ(buffer, "secret");
}
