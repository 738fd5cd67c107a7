#ifndef KELVARUNE_PROVERS_OUTPUT_H
#define KELVARUNE_PROVERS_OUTPUT_H

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvarune::provers {

/// Makes the file of these bytes. No file is left that has only some of them.
void writeFile(const std::string &path, const std::vector<std::string> &parts);

/// Reads standard input to its end and gives its lines, without their line feed, to `take`. Of a
/// line that is longer than any answer only the beginning comes, unless `whole` says that all of it
/// is wanted. False when it could not be read to its end.
bool readLines(const std::function<bool()> &whole,
               const std::function<void(std::string_view)> &take);

/// Runs what may refuse its work, but lets nobody who writes to it die of a broken pipe.
void readingAll(const std::function<void()> &work);

/// The text without the blanks around it.
std::string_view stripped(std::string_view text);

/// The words of a text.
std::vector<std::string_view> wordsOf(std::string_view text);

/// Prints on standard output.
void print(const std::string &text);

} // namespace kelvarune::provers

#endif
