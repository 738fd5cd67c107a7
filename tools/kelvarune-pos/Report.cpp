// Where a report goes. Unlike the status file a report may be new, so it is written through a
// temporary file that takes its name.

#include "Report.h"

#include "Options.h"
#include "Output.h"
#include "text/Literals.h"

#include <QFileInfo>
#include <QSaveFile>

using namespace kelvarune;

int finishReport(const options_t &options, const QByteArray &bytes) {
  if (options.outputPath.isEmpty())
    return finish(bytes);
  const QString output = QFileInfo(options.outputPath).canonicalFilePath();
  if (!output.isEmpty() && output == QFileInfo(options.file()).canonicalFilePath()) {
    complain(options.outputPath + ": is the status file itself, give another path"_s);
    return EXIT_REFUSED;
  }
  QSaveFile file(options.outputPath);
  if (file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit())
    return EXIT_DONE;
  complain(options.outputPath + ": cannot be written: "_s + file.errorString());
  return EXIT_REFUSED;
}
