#include "file/Io.h"

#include <gtest/gtest.h>

#include <thread>

using namespace kelvarune;

namespace {

TEST(Io, WaitsForDescriptorsThatDoNotBlock) {
  file::pipe_t pipe = file::makePipe();
  for (const int fd : {pipe.readEnd.get(), pipe.writeEnd.get()})
    ::fcntl(fd, F_SETFL, O_NONBLOCK);
  const QByteArray sent(3000000, 'x');
  std::thread writer([&] {
    EXPECT_TRUE(file::writeAll(pipe.writeEnd.get(), sent));
    pipe.writeEnd.reset();
  });
  QByteArray received;
  EXPECT_TRUE(file::readAll(pipe.readEnd.get(), received));
  writer.join();
  EXPECT_EQ(received, sent);
}

} // namespace
