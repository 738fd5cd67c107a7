#ifndef KELVARUNE_TESTS_SUPPORT_FIXTURES_H
#define KELVARUNE_TESTS_SUPPORT_FIXTURES_H

#include <QDir>
#include <QDomDocument>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <fstream>
#include <string>

/// A directory that lives as long as the fixture, with short ways to put files in and read them.
class TemporaryDirectory {
public:
  TemporaryDirectory() { EXPECT_TRUE(directory.isValid()); }

  QString path() const { return directory.path(); }
  QString path(const QString &name) const { return directory.filePath(name); }
  std::string bytePath(const std::string &name) const {
    return path(QString::fromStdString(name)).toStdString();
  }

  /// Writes `content` as the file `name` and returns its path.
  std::string write(const std::string &name, const std::string &content) const {
    std::ofstream file(bytePath(name), std::ios::binary);
    EXPECT_TRUE((file << content).flush()) << name;
    return bytePath(name);
  }

  /// As write, and makes the file executable for its owner.
  std::string writeTool(const std::string &name, const std::string &content) const {
    const std::string file = write(name, content);
    QFile::setPermissions(QString::fromStdString(file),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    return file;
  }

  std::string read(const std::string &name) const {
    QFile file(path(QString::fromStdString(name)));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name;
    return file.readAll().toStdString();
  }

private:
  QTemporaryDir directory;
};

/// The document written in `xml`; fails the test when it is not well-formed.
inline QDomDocument documentOf(const std::string &xml) {
  QDomDocument document;
  EXPECT_TRUE(document.setContent(QByteArray::fromStdString(xml))) << xml;
  return document;
}

#endif
