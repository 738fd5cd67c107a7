// The vocabulary of the description files and the tables built from it. They stand in one file, the
// constants first, because the order of static initialisation holds only within a file.

#include "mechanism/Mechanism.h"

namespace mechanism {

const QString TAG_MECHANISM = QStringLiteral("mechanism");
const QString TAG_DEFINITION = QStringLiteral("definition");
const QString TAG_DRIVER = QStringLiteral("driver");
const QString TAG_WRITER = QStringLiteral("writer");
const QString TAG_PROVER = QStringLiteral("prover");
const QString TAG_READER = QStringLiteral("reader");
const QString TAG_PARAM = QStringLiteral("param");
const QString TAG_EXPAND = QStringLiteral("expand");
const QString ATTR_NAME = QStringLiteral("name");
const QString ATTR_PATH = QStringLiteral("path");
const QString ATTR_RESOURCE = QStringLiteral("resource");
const QString ATTR_SEPARATOR = QStringLiteral("separator");
const QString ATTR_VALUE = QStringLiteral("value");
const QString ATTR_TIMEOUT = QStringLiteral("timeout");
const QString ATTR_INPUT = QStringLiteral("input");
const QString ATTR_GROUP = QStringLiteral("group");
const QString ATTR_EXT = QStringLiteral("ext");
const QString ATTR_TRUST = QStringLiteral("trust");
const QString ATTR_FAST = QStringLiteral("fast");

const QString ATTR_VALUE_NEVER = QStringLiteral("never");
const QString ATTR_VALUE_REDUNDANCY = QStringLiteral("redundancy");
const QString ATTR_VALUE_ALWAYS = QStringLiteral("always");
const QString ATTR_VALUE_NONE = QStringLiteral("none");
const QString ATTR_VALUE_RELATED = QStringLiteral("related");
const QString ATTR_VALUE_FULL = QStringLiteral("full");
const QString ATTR_VALUE_STDIN = QStringLiteral("stdin");
const QString ATTR_VALUE_FILE = QStringLiteral("file");

const std::map<QString, group_t> groupOfXmlAttr = {{ATTR_VALUE_NONE, group_t::NONE},
                                                   {ATTR_VALUE_RELATED, group_t::RELATED},
                                                   {ATTR_VALUE_FULL, group_t::FULL}};

const std::map<QString, trust_t> trustOfXmlAttr = {{ATTR_VALUE_NEVER, trust_t::NEVER},
                                                   {ATTR_VALUE_REDUNDANCY, trust_t::REDUNDANCY},
                                                   {ATTR_VALUE_ALWAYS, trust_t::ALWAYS}};

const std::map<group_t, QString> qstringOfGroup = {{group_t::NONE, ATTR_VALUE_NONE},
                                                   {group_t::RELATED, ATTR_VALUE_RELATED},
                                                   {group_t::FULL, ATTR_VALUE_FULL}};

const std::map<trust_t, QString> qstringOfTrust = {{trust_t::NEVER, ATTR_VALUE_NEVER},
                                                   {trust_t::REDUNDANCY, ATTR_VALUE_REDUNDANCY},
                                                   {trust_t::ALWAYS, ATTR_VALUE_ALWAYS}};

const std::map<input_t, QString> qstringOfInput = {{input_t::FILE, ATTR_VALUE_FILE},
                                                   {input_t::STDIN, ATTR_VALUE_STDIN}};

} // namespace mechanism
