// Pieces end with a line where they can: a status line is drawn in between.

#include "Outputs.h"

#include "file/Io.h"

#include <QDir>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

using namespace kelvarune;

file::Descriptor Outputs::makeSpool() {
  std::string path = QDir::tempPath().toStdString() + "/kelvarune-play-XXXXXX";
  file::Descriptor spool(::mkostemp(path.data(), O_CLOEXEC | O_APPEND));
  if (spool.isOpen())
    ::unlink(path.c_str());
  return spool;
}

void Outputs::add(int target, std::string text) {
  items.push_back({target, std::move(text), file::Descriptor()});
}

void Outputs::add(int target, file::Descriptor spool) {
  items.push_back({target, std::string(), std::move(spool)});
}

void Outputs::writeSome() {
  if (items.empty())
    return;
  item_t &item = items.front();
  char piece[PIPE_BUF];
  if (item.text.empty() && item.spool.isOpen()) {
    const ssize_t size = file::readSomeAt(item.spool.get(), piece, sizeof piece, item.at);
    item.text.assign(piece, size > 0 ? static_cast<std::size_t>(size) : 0);
    if (const std::size_t end = item.text.rfind('\n'); end != std::string::npos)
      item.text.resize(end + 1);
    item.at += static_cast<off_t>(item.text.size());
  }
  const std::size_t wanted = std::min<std::size_t>(item.text.size(), sizeof piece);
  const ssize_t written = wanted > 0 ? ::write(item.target, item.text.data(), wanted) : 0;
  if (written < 0 && (errno == EAGAIN || errno == EINTR))
    return;
  if (written > 0)
    item.text.erase(0, static_cast<std::size_t>(written));
  else
    items.pop_front(); // all of it is out, or nobody can have it
  if (!items.empty() && items.front().text.empty() && !items.front().spool.isOpen())
    items.pop_front();
}
