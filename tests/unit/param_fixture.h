// A task in its own environment, with the message and error streams captured as text.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "telva.h"
#include "telva/task/task.h"

namespace paramtest {

class TaskFixture : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(TVA_makeenv(&env, nullptr), TVA_RES_OK);
    ASSERT_EQ(TVA_maketask(env, 0, 0, &task), TVA_RES_OK);
    capture(task, &msg, &err);
  }
  void TearDown() override {
    EXPECT_EQ(TVA_deletetask(&task), TVA_RES_OK);
    EXPECT_EQ(TVA_deleteenv(&env), TVA_RES_OK);
  }
  static void append(void* handle, const char* text) {
    static_cast<std::string*>(handle)->append(text);
  }
  static void capture(TVAtask_t t, std::string* m, std::string* e) {
    t->streams.rec[TVA_STREAM_MSG].func = &append;
    t->streams.rec[TVA_STREAM_MSG].handle = m;
    t->streams.rec[TVA_STREAM_ERR].func = &append;
    t->streams.rec[TVA_STREAM_ERR].handle = e;
  }

  TVAenv_t env = nullptr;
  TVAtask_t task = nullptr;
  std::string msg, err;
};

} // namespace paramtest
