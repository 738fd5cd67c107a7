#include "jobserver/MakeFlags.h"

#include <gtest/gtest.h>

using namespace kelvarune::jobserver;

namespace {

constexpr auto NONE = server_t::form_t::NONE;
constexpr auto PIPE = server_t::form_t::PIPE;
constexpr auto FIFO = server_t::form_t::FIFO;

struct row_t {
  const char *flags;
  server_t::form_t form;
  int readEnd;
  int writeEnd;
  const char *path;
  unsigned jobs;
  bool isDryRun;
};

TEST(MakeFlags, TellTheJobserver) {
  const row_t rows[] = {
      {"", NONE, -1, -1, "", 0, false},
      {"n", NONE, -1, -1, "", 0, true},
      {"ks -j8 --jobserver-auth=3,4", PIPE, 3, 4, "", 8, false},
      {"kn -j8 --jobserver-auth=3,4", PIPE, 3, 4, "", 8, true},
      {" --jobserver-fds=5,6 -j", PIPE, 5, 6, "", 0, false},
      {" -j4 --jobserver-auth=-2,-2", PIPE, -2, -2, "", 4, false},
      {" -j4 --jobserver-auth=fifo:/tmp/a\\ b", FIFO, -1, -1, "/tmp/a b", 4, false},
      {" -j4 --jobserver-auth=3,4 -j2 --jobserver-auth=5,6", PIPE, 5, 6, "", 2, false},
      {" -j4 --jobserver-auth=3,4 --jobserver-auth=shm:x", NONE, 3, 4, "", 4, false},
      {" -- A=--jobserver-auth=3,4 n", NONE, -1, -1, "", 0, false},
      {"A=n", NONE, -1, -1, "", 0, false}};
  for (const row_t &row : rows) {
    const server_t server = serverIn(row.flags);
    EXPECT_EQ(server.form, row.form) << row.flags;
    EXPECT_EQ(server.path, row.path) << row.flags;
    EXPECT_EQ(server.jobs, row.jobs) << row.flags;
    EXPECT_EQ(std::make_pair(server.readEnd, server.writeEnd),
              std::make_pair(row.readEnd, row.writeEnd))
        << row.flags;
    EXPECT_EQ(isDryRun(row.flags), row.isDryRun) << row.flags;
  }
}

TEST(MakeFlags, GetAnotherJobserver) {
  const server_t server = {PIPE, 7, 9, "", 3};
  const std::pair<const char *, const char *> rows[] = {
      {"", " -j3 --jobserver-auth=7,9"},
      {"k -j8 --jobserver-auth=3,4 -- CC=-j2", "k -j3 --jobserver-auth=7,9 -- CC=-j2"},
      {" -I\\ x --jobserver-fds=3,4 -j", " -I\\ x -j3 --jobserver-auth=7,9"}};
  for (const auto &[before, after] : rows)
    EXPECT_EQ(withServer(before, server), after) << before;
}

} // namespace
