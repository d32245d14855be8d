#ifndef TEST_CLIENT_WRAPPER_EMBEDDER_TEST_H_
#define TEST_CLIENT_WRAPPER_EMBEDDER_TEST_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fake_embedder.h"

namespace client_wrapper_test {

/// An engine, in front of which nobody may misbehave.
class EmbedderTest : public ::testing::Test {
 protected:
  void TearDown() override {
    embedder_.DestroyRegistrar();
    EXPECT_THAT(embedder_.complaints(), ::testing::IsEmpty());
  }

  fakes::FakeEmbedder embedder_;
};

}  // namespace client_wrapper_test

#endif  // TEST_CLIENT_WRAPPER_EMBEDDER_TEST_H_
