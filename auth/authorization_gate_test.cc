#include "auth/authorization_gate.h"

#include <gtest/gtest.h>

#include <cwctype>
#include <functional>

#include "auth/test_ber_builder.h"
#include "base/command_facts.h"

namespace tarn {
namespace {

using test_ber::Auth;
using test_ber::Bytes;
using test_ber::Enum;
using test_ber::GeneralizedTime;
using test_ber::Seq;
using test_ber::Set;
using test_ber::Text;

// The gate decodes real BER, so the fake DecodeBase64 hands it prepared encodings: validity
// 2026-01-01..2026-12-31, the given permissions, one identifier of `type` with `value`.
Bytes AuthMessage(const std::vector<uint8_t>& permissions, uint8_t type, const std::string& value) {
  std::vector<Bytes> permissionSet;
  for (uint8_t permission : permissions) permissionSet.push_back(Enum(permission));
  return Auth(Seq({GeneralizedTime("20260101000000Z"), GeneralizedTime("20261231000000Z")}),
              Set(permissionSet), Set({Seq({Enum(type), Text(0x04, value)})}));
}

Bytes TimeMessage(const char* executionTime) {
  return test_ber::Time(Text(0x04, "c"), GeneralizedTime(executionTime));
}

std::wstring Word(Command command) { return FactsOf(command).word; }
std::wstring Upper(std::wstring word) {
  for (wchar_t& c : word) c = static_cast<wchar_t>(std::towupper(static_cast<wint_t>(c)));
  return word;
}

// A valid authorization of "HW-1" for permission 19 (base64 text -> the decoded bytes) until an
// arrangement changes it. The nonce may be read and deleted only while held, and is let go once on
// every path.
struct FakeServices final : AuthorizationServices {
  std::map<std::wstring, std::vector<uint8_t>> base64 = {{L"C", {1, 2, 3}},
                                                         {L"A", AuthMessage({19}, 0, "HW-1")},
                                                         {L"E", TimeMessage("20260601000000Z")}};
  bool certificateValid = true, informationValid = true, signatureValid = true;
  bool challengeValid = true;
  uint32_t nonceCode = 0;
  uint32_t lockCode = 0;
  uint32_t locateCode = 0;
  std::string hardwareId = "HW-1";  // in the agent's file and from the agent alike
  uint32_t identityCode = 0;
  bool held = false, deleted = false;

  bool ReadCertificateFile(const std::wstring& path, std::wstring& text) override {
    if (path != L"P") return false;
    text = L"C";
    return true;
  }
  uint32_t DecodeBase64(std::vector<uint8_t>& bytes, const std::wstring& text, Logger*) override {
    const auto found = base64.find(text);
    if (found == base64.end()) return 13;
    bytes = found->second;
    return 0;
  }
  uint32_t ValidateCertificate(bool& isValid, const std::wstring&, const std::vector<uint8_t>&,
                               bool, Logger*) override {
    isValid = certificateValid;
    return 0;
  }
  uint32_t ValidateCertificateInformation(bool& isValid, const std::vector<uint8_t>&,
                                          Logger*) override {
    isValid = informationValid;
    return 0;
  }
  bool VerifySignature(const std::vector<uint8_t>&, const std::vector<uint8_t>&,
                       const std::vector<uint8_t>&, Logger*) override {
    return signatureValid;
  }
  uint32_t LockNonce(Logger*) override {
    EXPECT_FALSE(held);
    held = lockCode == 0;
    return lockCode;
  }
  void UnlockNonce() override {
    EXPECT_TRUE(held);
    held = false;
  }
  uint32_t ReadNonce(std::vector<uint8_t>& nonce, Logger*) override {
    EXPECT_TRUE(held);
    nonce.assign(16, 1);
    return nonceCode;
  }
  uint32_t ValidateChallenge(bool& isValid, const std::vector<uint8_t>&, const SignedTimeMessage&,
                             const std::wstring&, Logger*) override {
    isValid = challengeValid;
    return 0;
  }
  uint32_t DeleteNonceKey(Logger*) override {
    EXPECT_TRUE(held);
    deleted = true;
    return 0;
  }
  uint32_t ComputeSha256(std::vector<uint8_t>& digest, const std::string& data, Logger*) override {
    digest.assign(data.begin(), data.end());  // a stand-in "hash": the text's own bytes
    return 0;
  }
};

struct GateRun {
  uint32_t code;
  bool authorized, serviceUsed;
  std::vector<std::wstring> arguments;
  int32_t count;
};

GateRun Gate(FakeServices& services, std::vector<std::wstring> arguments) {
  IdentityServices identity;
  identity.locateAgentConfigFile = [&](std::wstring& path, uint8_t& running, Logger*) {
    path = L"C:\\agent\\oxagng\\oxagng.jso";
    running = 1;
    return services.locateCode;
  };
  identity.readHardwareId = [&](const std::wstring&, std::string& hardwareId, Logger*) {
    hardwareId = services.hardwareId;
    return 0u;
  };
  identity.getEndpointInformation = [&](std::string& hardwareId, const std::wstring&, bool,
                                        Logger*) {
    hardwareId = services.hardwareId;
    return services.identityCode;
  };
  GateRun run{};
  run.count = static_cast<int32_t>(arguments.size());
  run.code = ValidateAuthorization(services, identity, run.authorized, run.serviceUsed, arguments,
                                   run.count, nullptr);
  run.arguments = arguments;
  EXPECT_FALSE(services.held);
  return run;
}

const std::vector<std::wstring> kOptions = {L"-authToken",     L"A", L"-certificate", L"C",
                                            L"-executionTime", L"E"};

std::vector<std::wstring> Command(std::vector<std::wstring> head,
                                  const std::vector<std::wstring>& tail = kOptions) {
  head.insert(head.begin(), L"tarn-rmm.exe");
  head.insert(head.end(), tail.begin(), tail.end());
  return head;
}

TEST(AuthorizationGateTest, OptionsAreTakenOutOfTheCommandLine) {
  const std::vector<std::wstring> fromFile = {L"-authToken",     L"A", L"-certificatePath", L"P",
                                              L"-executionTime", L"E"};
  std::vector<std::wstring> unreadable = fromFile;
  unreadable[3] = L"absent";
  struct Case {
    const char* name;
    std::vector<std::wstring> arguments;
    uint32_t code;
    bool authorized, serviceUsed;
    int32_t count;  // the command line left is the first `count` arguments given
  } cases[] = {
      {"status command keeps its words",
       Command({Word(Command::kGetUpdateStatus), L"-authToken"}, {}), 0, true, false, 3},
      {"legacy uninstall, in capitals", Command({Upper(Word(Command::kUninstall)), L"secret"}, {}),
       0, true, false, 3},
      {"uninstall with some options", Command({Word(Command::kUninstall), L"-authtoken", L"A"}, {}),
       87, false, false, 2},
      {"no token",
       Command({Word(Command::kUninstall)}, {L"-certificate", L"C", L"-executionTime", L"E"}), 87,
       false, false, 2},
      {"both certificate forms",
       Command({Word(Command::kCompetitorsAssessment), L"-certificatePath", L"P"}), 87, false,
       false, 2},
      {"repeated option in other case", Command({Word(Command::kUninstall), L"-AUTHTOKEN", L"B"}),
       85, false, false, 4},
      {"option without a value",
       Command({Word(Command::kUninstall), L"-certificate", L"C", L"-authToken"}, {}), 87, false,
       false, 5},
      {"valid authorization", Command({Word(Command::kCompetitorsAssessment)}), 0, true, true, 2},
      {"options in capitals",
       Command({Upper(Word(Command::kCompetitorsAssessment))},
               {L"-AUTHTOKEN", L"A", L"-Certificate", L"C", L"-EXECUTIONTIME", L"E"}),
       0, true, true, 2},
      {"certificate from a file", Command({Word(Command::kCompetitorsAssessment)}, fromFile), 0,
       true, true, 2},
      {"certificate file unreadable", Command({Word(Command::kCompetitorsAssessment)}, unreadable),
       110, false, false, 2},
      {"missing permission", Command({Word(Command::kUninstall)}), 0, false, true, 2},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    FakeServices services;
    const GateRun run = Gate(services, c.arguments);
    EXPECT_EQ(run.code, c.code);
    EXPECT_EQ(run.authorized, c.authorized);
    EXPECT_EQ(run.serviceUsed, c.serviceUsed);
    EXPECT_EQ(run.count, c.count);
    EXPECT_EQ(run.arguments,
              std::vector<std::wstring>(c.arguments.begin(), c.arguments.begin() + c.count));
  }
}

TEST(AuthorizationGateTest, EachCheckRefusesWithItsCodeAndSpendsTheChallengeOnlyLate) {
  // "48572d31" is the hex of "HW-1", the fake hash of the hardware id.
  struct Case {
    const char* name;
    std::function<void(FakeServices&)> arrange;
    uint32_t code;
    bool authorized, nonceDeleted;
  } cases[] = {
      {"certificate invalid", [](FakeServices& s) { s.certificateValid = false; }, 0, false, false},
      {"certificate information", [](FakeServices& s) { s.informationValid = false; }, 0, false,
       false},
      {"bad base64", [](FakeServices& s) { s.base64.erase(L"A"); }, 13, false, false},
      {"truncated message",
       [](FakeServices& s) { s.base64[L"A"].resize(s.base64[L"A"].size() - 3); }, 2, false, false},
      {"signature", [](FakeServices& s) { s.signatureValid = false; }, 0, false, false},
      {"nonce held by another run", [](FakeServices& s) { s.lockCode = 1460; }, 1460, false, false},
      {"no nonce", [](FakeServices& s) { s.nonceCode = 2; }, 2, false, false},
      {"challenge", [](FakeServices& s) { s.challengeValid = false; }, 0, false, false},
      {"execution before validity",
       [](FakeServices& s) { s.base64[L"E"] = TimeMessage("20251231235959Z"); }, 0, false, true},
      {"execution at validFrom",
       [](FakeServices& s) { s.base64[L"E"] = TimeMessage("20260101000000Z"); }, 0, true, true},
      {"execution at validTo",
       [](FakeServices& s) { s.base64[L"E"] = TimeMessage("20261231000000Z"); }, 0, true, true},
      {"execution after validity",
       [](FakeServices& s) { s.base64[L"E"] = TimeMessage("20261231000001Z"); }, 0, false, true},
      {"agent not located", [](FakeServices& s) { s.locateCode = 2; }, 2, false, true},
      {"other hardware id", [](FakeServices& s) { s.hardwareId = "HW-2"; }, 20, false, true},
      {"hardware id hash matches",
       [](FakeServices& s) { s.base64[L"A"] = AuthMessage({19}, 1, "48572d31"); }, 0, true, true},
      {"hardware id hash of another endpoint",
       [](FakeServices& s) { s.base64[L"A"] = AuthMessage({19}, 1, "48572d32"); }, 20, false, true},
      {"hardware id hash without the identity",
       [](FakeServices& s) {
         s.base64[L"A"] = AuthMessage({19}, 1, "48572d31");
         s.identityCode = 30;
       },
       30, false, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    FakeServices services;
    c.arrange(services);
    const GateRun run = Gate(services, Command({Word(Command::kCompetitorsAssessment)}));
    EXPECT_EQ(run.code, c.code);
    EXPECT_EQ(run.authorized, c.authorized);
    EXPECT_EQ(services.deleted, c.nonceDeleted);
  }
}

TEST(AuthorizationGateTest, EditWordsDecideThePermissions) {
  struct Case {
    std::vector<std::wstring> arguments;
    std::vector<uint32_t> permissions;
  } cases[] = {
      {{L"p", Word(Command::kEditFeatures), L"-ADD", L"FileScan"}, {21}},
      {{L"p", Word(Command::kEditFeatures), L"-remove", L"FileScan"}, {22}},
      {{L"p", Word(Command::kEditFeatures), L"-remove", L"x", L"-add", L"y"}, {21, 22}},
      {{L"p", Word(Command::kEditFeatures), L"-set", L"x"}, {21, 22}},
      {{L"p", Word(Command::kEditFeatures)}, {21, 22}},
      {{L"p", Word(Command::kRemoveAllCompetitors)}, {20}},
      {{L"p", Word(Command::kUninstall)}, {3}},
  };
  for (const auto& c : cases) {
    std::vector<uint32_t> permissions;
    EXPECT_TRUE(IsCommandToBeAuthorized(permissions, c.arguments,
                                        static_cast<int32_t>(c.arguments.size()), nullptr));
    EXPECT_EQ(permissions, c.permissions);
  }
}

}  // namespace
}  // namespace tarn
