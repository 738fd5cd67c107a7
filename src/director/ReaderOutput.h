#ifndef KELVARUNE_DIRECTOR_READEROUTPUT_H
#define KELVARUNE_DIRECTOR_READEROUTPUT_H

#include <cstddef>
#include <string>
#include <string_view>

/// What a reader wrote: one verdict per line, after the white space at both ends is taken away.
///
/// Lines end at line feeds only and are not trimmed one by one. All lines are counted, but no more
/// than KEPT_BYTES of the text are kept; behind that lines read as empty, which is no verdict. So a
/// tool that runs wild costs no memory.
class ReaderOutput {
public:
  static constexpr std::size_t KEPT_BYTES = std::size_t(64) << 20;

  /// Takes the next bytes.
  void append(const char *bytes, std::size_t size);

  /// The number of lines, at least 1: empty output is one empty line.
  std::size_t lineCount() const { return 1 + lineFeeds - lineFeedsAtEnd; }

  /// The trimmed text, valid as long as the output.
  std::string_view text() const;

private:
  std::string kept; // without white space at the start
  std::size_t lineFeeds = 0;
  std::size_t lineFeedsAtEnd = 0;
};

/// Gives the lines of a text one by one.
class LineCursor {
public:
  explicit LineCursor(std::string_view text) : rest(text) {}

  bool atEnd() const { return ended; }

  /// The next line; empty at the end.
  std::string_view next();

private:
  std::string_view rest;
  bool ended = false;
};

#endif
