// Errors are caught by type in a shared object that is loaded at run time and keeps its symbols to itself.
// SPDX-License-Identifier: Apache-2.0
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>

#include "velmora/native/invalid_argument_error.hpp"

namespace {

class PlugIn : public testing::Test {
 protected:
  void SetUp() override {
    handle_ = dlopen(VELMORA_TEST_PLUG_IN, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(handle_, nullptr) << dlerror();
  }

  template <typename Function>
  Function* Find(const char* name) const {
    return reinterpret_cast<Function*>(dlsym(handle_, name));
  }

 private:
  void* handle_ = nullptr;
};

TEST_F(PlugIn, CatchesByEachOfTheThreeTypes) {
  auto* const count = Find<int()>("CountCaughtTypes");
  ASSERT_NE(count, nullptr);
  EXPECT_EQ(count(), 3);
}

// The host links no library of ours: its type information for the error is its own.
TEST_F(PlugIn, LetsTheHostCatchByType) {
  auto* const throw_into_host = Find<void()>("ThrowIntoHost");
  ASSERT_NE(throw_into_host, nullptr);
  try {
    throw_into_host();
    ADD_FAILURE() << "nothing was thrown";
  } catch (const velmora::native::InvalidArgumentError& error) {
    EXPECT_EQ(error.what(), std::string("unit_progress must be finite"));
  } catch (...) {
    ADD_FAILURE() << "thrown, but as another type";
  }
}

}  // namespace
