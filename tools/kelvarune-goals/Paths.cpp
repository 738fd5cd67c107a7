#include "Paths.h"

#include "goals/PogText.h"

#include <cstdlib>
#include <filesystem>
#include <memory>

namespace {

constexpr unsigned FIRST_LONE = 0xdc00; // and the byte
constexpr unsigned HIGH_BYTES = 0x80;

} // namespace

QString paths::textOf(const std::string &bytes) {
  // What is no UTF-8, and some more, is "%" and two digits there.
  const QString encoded =
      QString::fromStdString(kelvarune::goals::encoded(bytes, kelvarune::goals::place_t::MESSAGE));
  QString text;
  for (int i = 0; i < encoded.size(); ++i) {
    if (encoded[i] != QLatin1Char('%')) {
      text += encoded[i];
      continue;
    }
    const unsigned byte = encoded.mid(i + 1, 2).toUInt(nullptr, 16);
    text += QChar(byte < HIGH_BYTES ? byte : FIRST_LONE + byte);
    i += 2;
  }
  return text;
}

std::string paths::bytesOf(const QString &text) {
  std::string bytes;
  QString pending;
  const auto flush = [&] {
    bytes += pending.toStdString();
    pending.clear();
  };
  for (int i = 0; i < text.size(); ++i) {
    const QChar c = text[i];
    const bool isPaired = i > 0 && text[i - 1].isHighSurrogate();
    const unsigned byte = c.unicode() - FIRST_LONE;
    if (isPaired || c.unicode() < FIRST_LONE + HIGH_BYTES || byte > 0xff) {
      pending += c;
      continue;
    }
    flush();
    bytes += static_cast<char>(byte);
  }
  flush();
  return bytes;
}

std::string paths::realPath(const std::string &path) {
  struct free_t {
    void operator()(char *text) const { std::free(text); }
  };
  const std::unique_ptr<char, free_t> real(::realpath(path.c_str(), nullptr));
  return real ? real.get() : std::string();
}

std::string paths::absolutePath(const std::string &path) {
  std::error_code none;
  std::string absolute = std::filesystem::absolute(path, none).lexically_normal().string();
  while (absolute.size() > 1 && absolute.back() == '/')
    absolute.pop_back();
  return absolute;
}

std::string paths::relativePath(const std::string &path, const std::string &from) {
  return std::filesystem::path(path).lexically_relative(from).string();
}

std::string paths::joined(const std::string &directory, const std::string &name) {
  if (directory.empty() || directory == ".")
    return name;
  if (name.empty() || name == ".")
    return directory;
  return directory.back() == '/' ? directory + name : directory + '/' + name;
}

std::string paths::parentOf(const std::string &path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos)
    return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

std::string paths::nameOf(const std::string &path) {
  return path.substr(path.rfind('/') + 1); // npos + 1 is 0
}
