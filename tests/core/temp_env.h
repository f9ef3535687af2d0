// A fresh temporary HOME and system Library folder for one test, removed afterwards.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace tavix::test {

class TempEnvTest : public ::testing::Test {
  protected:
    void SetUp() override {
        char pattern[] = "/tmp/tavix-test-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern), nullptr);
        root_ = pattern, home_ = root_ + "/home", system_ = root_ + "/system/Library";
        std::filesystem::create_directories(home_);
        std::filesystem::create_directories(system_);
        ::setenv("HOME", home_.c_str(), 1);
        ::setenv("TAVIX_SYSTEM_LIBRARY", system_.c_str(), 1);
    }
    void TearDown() override { std::filesystem::remove_all(root_); }

    std::string root_, home_, system_;
};

}  // namespace tavix::test
