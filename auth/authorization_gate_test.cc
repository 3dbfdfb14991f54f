#include "auth/authorization_gate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cwctype>
#include <functional>
#include <iterator>

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
Bytes AuthMessage(const std::vector<uint8_t>& permissions, uint8_t type,
                  const std::string& value) {
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

struct FakeServices final : AuthorizationServices {
  std::map<std::wstring, std::vector<uint8_t>> base64;  // text -> decoded bytes
  bool certificateValid = true, informationValid = true, signatureValid = true;
  bool challengeValid = true;
  uint32_t nonceCode = 0;
  uint32_t lockCode = 0;
  uint32_t locateCode = 0;
  std::string fileHardwareId = "HW-1";
  std::string agentHardwareId = "HW-1";
  uint32_t identityCode = 0;
  bool fileReadable = true;
  std::vector<std::string> calls;

  bool ReadCertificateFile(const std::wstring&, std::wstring& text) override {
    calls.push_back("read-file");
    if (fileReadable) text = L"cert";
    return fileReadable;
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
    calls.push_back("lock");
    return lockCode;
  }
  void UnlockNonce() override { calls.push_back("unlock"); }
  uint32_t ReadNonce(std::vector<uint8_t>& nonce, Logger*) override {
    calls.push_back("read-nonce");
    nonce.assign(16, 1);
    return nonceCode;
  }
  uint32_t ValidateChallenge(bool& isValid, const std::vector<uint8_t>&, const SignedTimeMessage&,
                             const std::wstring&, Logger*) override {
    isValid = challengeValid;
    return 0;
  }
  uint32_t DeleteNonceKey(Logger*) override {
    calls.push_back("delete-nonce");
    return 0;
  }
  uint32_t ComputeSha256(std::vector<uint8_t>& digest, const std::string& data,
                         Logger*) override {
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
    hardwareId = services.fileHardwareId;
    return 0u;
  };
  identity.getEndpointInformation = [&](std::string& hardwareId, const std::wstring&, bool,
                                        Logger*) {
    hardwareId = services.agentHardwareId;
    return services.identityCode;
  };
  GateRun run{};
  run.count = static_cast<int32_t>(arguments.size());
  run.code = ValidateAuthorization(services, identity, run.authorized, run.serviceUsed,
                                   arguments, run.count, nullptr);
  run.arguments = arguments;
  return run;
}

const std::vector<std::wstring> kOptions = {L"-authToken", L"A", L"-certificate", L"C",
                                            L"-executionTime", L"E"};

std::vector<std::wstring> Command(std::vector<std::wstring> head,
                                  const std::vector<std::wstring>& tail = kOptions) {
  head.insert(head.begin(), L"tarn-rmm.exe");
  head.insert(head.end(), tail.begin(), tail.end());
  return head;
}

FakeServices Valid(std::vector<uint8_t> permissions = {19}, uint8_t type = 0,
                   const std::string& id = "HW-1") {
  FakeServices services;
  services.base64[L"C"] = {1, 2, 3};
  services.base64[L"A"] = AuthMessage(permissions, type, id);
  services.base64[L"E"] = TimeMessage("20260601000000Z");
  return services;
}

TEST(AuthorizationGateTest, OptionsAreTakenOutOfTheCommandLine) {
  struct Case {
    const char* name;
    std::vector<std::wstring> arguments;
    uint32_t code;
    bool authorized, serviceUsed;
    int32_t count;
  } cases[] = {
      {"status command needs nothing", Command({Word(Command::kGetProductVersion)}, {}), 0, true,
       false, 2},
      {"status command keeps its words",
       Command({Word(Command::kGetUpdateStatus), L"-authToken"}, {}), 0, true, false, 3},
      {"legacy uninstall", Command({Word(Command::kUninstall), L"secret"}, {}), 0, true, false, 3},
      {"uninstall with some options", Command({Word(Command::kUninstall), L"-authtoken", L"A"}, {}),
       87, false, false, 2},
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
      {"missing permission", Command({Word(Command::kUninstall)}), 0, false, true, 2},
  };
  for (const auto& c : cases) {
    FakeServices services = Valid();
    const GateRun run = Gate(services, c.arguments);
    EXPECT_EQ(run.code, c.code) << c.name;
    EXPECT_EQ(run.authorized, c.authorized) << c.name;
    EXPECT_EQ(run.serviceUsed, c.serviceUsed) << c.name;
    EXPECT_EQ(run.count, c.count) << c.name;
  }
}

TEST(AuthorizationGateTest, AuthorizedUninstallReachesItsHandlerWithTwoArguments) {
  FakeServices services = Valid({3});
  const GateRun run = Gate(services, Command({Upper(Word(Command::kUninstall))}));
  EXPECT_TRUE(run.authorized);
  EXPECT_EQ(run.count, 2);
  EXPECT_EQ(run.arguments,
            (std::vector<std::wstring>{L"tarn-rmm.exe", Upper(Word(Command::kUninstall))}));
}

TEST(AuthorizationGateTest, EachCheckRefusesWithItsCodeAndSpendsTheChallengeOnlyLate) {
  struct Case {
    const char* name;
    std::function<void(FakeServices&)> arrange;
    uint32_t code;
    bool nonceDeleted;
  } cases[] = {
      {"certificate file unreadable",
       [](FakeServices& s) { s.fileReadable = false; }, 110, false},
      {"certificate invalid", [](FakeServices& s) { s.certificateValid = false; }, 0, false},
      {"certificate information", [](FakeServices& s) { s.informationValid = false; }, 0, false},
      {"bad base64", [](FakeServices& s) { s.base64.erase(L"A"); }, 13, false},
      {"truncated message",
       [](FakeServices& s) { s.base64[L"A"].resize(s.base64[L"A"].size() - 3); }, 2, false},
      {"signature", [](FakeServices& s) { s.signatureValid = false; }, 0, false},
      {"nonce held by another run", [](FakeServices& s) { s.lockCode = 1460; }, 1460, false},
      {"no nonce", [](FakeServices& s) { s.nonceCode = 2; }, 2, false},
      {"challenge", [](FakeServices& s) { s.challengeValid = false; }, 0, false},
      {"execution before validity",
       [](FakeServices& s) { s.base64[L"E"] = TimeMessage("20251231235959Z"); }, 0, true},
      {"execution at validFrom",
       [](FakeServices& s) { s.base64[L"E"] = TimeMessage("20260101000000Z"); }, 0, true},
      {"execution at validTo",
       [](FakeServices& s) { s.base64[L"E"] = TimeMessage("20261231000000Z"); }, 0, true},
      {"execution after validity",
       [](FakeServices& s) { s.base64[L"E"] = TimeMessage("20261231000001Z"); }, 0, true},
      {"agent not located", [](FakeServices& s) { s.locateCode = 2; }, 2, true},
      {"other hardware id", [](FakeServices& s) { s.fileHardwareId = "HW-2"; }, 20, true},
  };
  for (const auto& c : cases) {
    FakeServices services = Valid();
    c.arrange(services);
    const bool usesFile = std::string(c.name) == "certificate file unreadable";
    const GateRun run =
        Gate(services,
             Command({Word(Command::kCompetitorsAssessment)},
                     usesFile ? std::vector<std::wstring>{L"-authToken", L"A", L"-certificatePath",
                                                          L"P", L"-executionTime", L"E"}
                              : kOptions));
    EXPECT_EQ(run.code, c.code) << c.name;
    const bool boundary = std::string(c.name).find(" at valid") != std::string::npos;
    EXPECT_EQ(run.authorized, boundary) << c.name;
    const bool deleted = std::find(services.calls.begin(), services.calls.end(),
                                   "delete-nonce") != services.calls.end();
    EXPECT_EQ(deleted, c.nonceDeleted) << c.name;

    // The nonce is read and deleted only while held, and let go on every path once held.
    std::vector<std::string> nonceCalls, expected;
    std::copy_if(services.calls.begin(), services.calls.end(), std::back_inserter(nonceCalls),
                 [](const std::string& call) { return call != "read-file"; });
    if (!nonceCalls.empty()) expected.push_back("lock");
    if (!nonceCalls.empty() && services.lockCode == 0) {
      expected.push_back("read-nonce");
      if (deleted) expected.push_back("delete-nonce");
      expected.push_back("unlock");
    }
    EXPECT_EQ(nonceCalls, expected) << c.name;
  }
}

TEST(AuthorizationGateTest, Sha256HardwareIdNeedsTheIdentity) {
  struct Case {
    const char* name;
    std::string value;
    uint32_t identityCode;
    uint32_t code;
    bool authorized;
  } cases[] = {
      // "48572d31" is the hex of "HW-1", the fake hash of the hardware id.
      {"matches", "48572d31", 0, 0, true},
      {"another endpoint", "48572d32", 0, 20, false},
      {"no identity", "48572d31", 30, 30, false},
  };
  for (const auto& c : cases) {
    FakeServices services = Valid({19}, 1, c.value);
    services.identityCode = c.identityCode;
    const GateRun run = Gate(services, Command({Word(Command::kCompetitorsAssessment)}));
    EXPECT_EQ(run.code, c.code) << c.name;
    EXPECT_EQ(run.authorized, c.authorized) << c.name;
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
