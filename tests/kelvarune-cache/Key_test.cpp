// What changes a key is tested by running the program.

#include "kelvarune-cache/Key.h"
#include "support/Fixtures.h"

namespace {

using cache::keyOf;

TEST(Key, IsThereOnlyWhenEverythingCanBeRead) {
  const TemporaryDirectory directory;
  cache::request_t request;
  request.program = directory.writeTool("prover", "#!/bin/sh\n");
  EXPECT_TRUE(keyOf(request));
  request.goalFiles = {directory.bytePath("missing")};
  EXPECT_FALSE(keyOf(request));
  request.goalFiles.clear();
  request.program = directory.bytePath("missing");
  EXPECT_FALSE(keyOf(request));
}

} // namespace
