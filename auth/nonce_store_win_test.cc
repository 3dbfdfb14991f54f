#include <windows.h>

// clang-format off
#include <sddl.h>
// clang-format on

#include <gtest/gtest.h>

#include <future>
#include <string>
#include <thread>

#include "auth/nonce_store.h"
#include "base/result_codes.h"
#include "base/test_log_capture.h"
#include "base/win_handles.h"

namespace tarn {
namespace {

// HKEY_CURRENT_USER of this process points into a private key during each test, so the tests
// never meet the nonce of a tool run in the same prefix.
class NonceStoreTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, root_.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS,
                              nullptr, privateRoot_.put(), nullptr),
              0);
    ASSERT_EQ(RegOverridePredefKey(HKEY_CURRENT_USER, privateRoot_.get()), 0);
  }
  void TearDown() override {
    RegDeleteKeyA(HKEY_CURRENT_USER, kNonceKeyPath);  // whether or not a test left it
    RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
    privateRoot_.reset();
    RegDeleteKeyA(HKEY_CURRENT_USER, root_.c_str());
  }

  // Replaces the key's access list by one that lets everyone read. Windows lets administrators
  // open the restricted key with KEY_READ; Wine's access check refuses it (the deny-write entry
  // names READ_CONTROL), so a test that reads through ReadNonce opens the key up first.
  static void OpenUpKey() {
    UniqueHkey key;
    ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, kNonceKeyPath, 0, WRITE_DAC, key.put()), 0);
    UniqueHlocal open;
    ASSERT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorA(
        "D:(A;OICI;KA;;;WD)", SDDL_REVISION_1, reinterpret_cast<PSECURITY_DESCRIPTOR*>(open.put()),
        nullptr));
    ASSERT_EQ(RegSetKeySecurity(key.get(), DACL_SECURITY_INFORMATION, open.get()), 0);
  }

 private:
  std::string root_ = "Software\\tarn-nonce-store-test-" + std::to_string(GetCurrentProcessId());
  UniqueHkey privateRoot_;
};

const std::vector<uint8_t> kNonce = {0x00, 0x81, 0x8d, 0x8f, 0x90, 0x9d, 0xff, 0x00,
                                     0x41, 0x7f, 0x80, 0xa0, 0xe9, 0x0a, 0x0d, 0x01};

TEST_F(NonceStoreTest, ReadGivesBackTheStoredBytes) {
  // Whether the nonce holds or ends in a null must not change its length; a value longer than a
  // nonce makes the read grow its buffer.
  std::vector<uint8_t> endsInZero = kNonce;
  endsInZero.back() = 0x00;
  const std::string longer = "forty bytes of nonce, more than sixteen.";
  for (const std::vector<uint8_t>& stored :
       {kNonce, endsInZero, std::vector<uint8_t>(longer.begin(), longer.end())}) {
    SCOPED_TRACE(testing::PrintToString(stored));
    ASSERT_EQ(StoreNonce(stored, nullptr), 0u);
    OpenUpKey();

    std::vector<uint8_t> nonce;
    ASSERT_EQ(ReadNonce(nonce, nullptr), 0u);
    EXPECT_EQ(nonce, stored);
    ASSERT_EQ(DeleteNonceKey(nullptr), 0u);
  }
}

TEST_F(NonceStoreTest, MissingKeyOrValueFailsTheRead) {
  std::vector<uint8_t> nonce = {42};
  LogCapture log("tarn-nonce-missing-test");
  EXPECT_EQ(ReadNonce(nonce, log.get()), static_cast<uint32_t>(ERROR_FILE_NOT_FOUND));
  EXPECT_EQ(log.Take().back(), "Failed to open key registry. Error code: 2");

  UniqueHkey key;
  ASSERT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, kNonceKeyPath, 0, nullptr, 0, KEY_ALL_ACCESS,
                            nullptr, key.put(), nullptr),
            0);
  EXPECT_EQ(ReadNonce(nonce, log.get()), static_cast<uint32_t>(ERROR_FILE_NOT_FOUND));
  EXPECT_EQ(log.Take().back(), "Failed to read key value. Error code: 2");
  EXPECT_EQ(nonce, std::vector<uint8_t>{42});
}

// The second deletion finds no key; the read-back table stores again after each deletion.
TEST_F(NonceStoreTest, DeleteRemovesTheRestrictedKeyOnce) {
  ASSERT_EQ(StoreNonce(kNonce, nullptr), 0u);
  EXPECT_EQ(DeleteNonceKey(nullptr), 0u);
  EXPECT_EQ(DeleteNonceKey(nullptr), static_cast<uint32_t>(ERROR_FILE_NOT_FOUND));
}

// A holder on another thread keeps others out until the bound; when its thread ends without
// letting go, as a killed run would, the next run gets the lock at once.
TEST(NonceLockTest, HolderKeepsOthersOutUntilItEndsEvenWithoutReleasing) {
  std::promise<void> held, done;
  std::thread holder([&] {
    auto* lost = new NonceLock;  // never released or freed: its thread ends holding the lock
    EXPECT_EQ(lost->Acquire(nullptr), 0u);
    held.set_value();
    done.get_future().wait();
  });
  held.get_future().wait();

  NonceLock waiting;
  LogCapture log("tarn-nonce-lock-test");
  EXPECT_EQ(waiting.Acquire(log.get(), 50), kErrorTimeout);
  EXPECT_EQ(log.Take(), std::vector<std::string>{"Failed to lock nonce. Error code: 1460"});

  done.set_value();
  holder.join();
  EXPECT_EQ(waiting.Acquire(nullptr, 0), 0u);
  waiting.Release();
  EXPECT_EQ(NonceLock().Acquire(nullptr, 0), 0u);
}

}  // namespace
}  // namespace tarn
