#include "report/Badge.h"

#include "text/Literals.h"

#include <QXmlStreamWriter>

#include <algorithm>

using namespace kelvarune;

namespace {

constexpr int HEIGHT = 20;
constexpr int PADDING = 6;
constexpr int LETTER_WIDTH = 7; ///< texts are stretched to it, so that every font fits
const char *const LEFT_COLOUR = "#3d4654";

// White text on each of these can be read well.
const char *colourOf(const overview_t &overview) {
  const pos::metrics_t &metrics = overview.total.metrics;
  if (overview.hasFaults() || metrics.disproved > 0)
    return "#b3243d";
  if (metrics.total == 0)
    return "#5a6675";
  return metrics.proved == metrics.total ? "#0f6f58" : "#8a5f00";
}

QString valueOf(const overview_t &overview) {
  const pos::metrics_t &metrics = overview.total.metrics;
  const auto unreadable = std::count_if(
      overview.components.begin(), overview.components.end(),
      [](const component_t &component) { return !component.isRead && !component.isGone; });
  const QString counts = "%1/%2"_s.arg(metrics.proved).arg(metrics.total);
  return unreadable == 0 ? counts : counts + ", %1 unreadable"_s.arg(unreadable);
}

int widthOf(const QString &text) {
  return 2 * PADDING + LETTER_WIDTH * text.size();
}

void writeHalf(QXmlStreamWriter &xml, int x, const QString &text, const char *colour) {
  xml.writeEmptyElement("rect"_s);
  xml.writeAttribute("x"_s, QString::number(x));
  xml.writeAttribute("width"_s, QString::number(widthOf(text)));
  xml.writeAttribute("height"_s, QString::number(HEIGHT));
  xml.writeAttribute("fill"_s, QLatin1String(colour));
  xml.writeStartElement("text"_s);
  xml.writeAttribute("x"_s, QString::number(x + PADDING));
  xml.writeAttribute("y"_s, "14"_s);
  xml.writeAttribute("textLength"_s, QString::number(widthOf(text) - 2 * PADDING));
  xml.writeCharacters(text);
  xml.writeEndElement();
}

} // namespace

QByteArray badge(const overview_t &overview) {
  const QString label = "proved"_s;
  const QString value = valueOf(overview);
  const QString title = label + QLatin1Char(' ') + value;
  QByteArray bytes;
  QXmlStreamWriter xml(&bytes);
  xml.setAutoFormatting(true);
  xml.writeStartElement("svg"_s);
  xml.writeDefaultNamespace("http://www.w3.org/2000/svg"_s);
  xml.writeAttribute("width"_s, QString::number(widthOf(label) + widthOf(value)));
  xml.writeAttribute("height"_s, QString::number(HEIGHT));
  xml.writeAttribute("role"_s, "img"_s);
  xml.writeAttribute("aria-label"_s, title);
  xml.writeTextElement("title"_s, title);
  xml.writeStartElement("g"_s);
  xml.writeAttribute("fill"_s, "#fff"_s);
  xml.writeAttribute("font-family"_s, "Verdana, DejaVu Sans, sans-serif"_s);
  xml.writeAttribute("font-size"_s, "11"_s);
  writeHalf(xml, 0, label, LEFT_COLOUR);
  writeHalf(xml, widthOf(label), value, colourOf(overview));
  xml.writeEndElement();
  xml.writeEndElement();
  xml.writeEndDocument();
  return bytes.trimmed() + '\n'; // a declaration would stand first
}
