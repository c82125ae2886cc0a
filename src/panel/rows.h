#pragma once

#include "ui/qr_code.h"

#include <QColor>
#include <QString>
#include <QVBoxLayout>
#include <QWidget>

/// The elements of the panel's bands and boxes. The accessible name of a row is its whole text, so
/// that a screen reader says label and value together; symbols and dots only decorate the text
/// beside them and have none.
namespace quorin::panel {

namespace look {
inline constexpr QColor kBand{42, 42, 45};  ///< the bands above and below
inline constexpr QColor kBox{44, 44, 47};
inline constexpr QColor kDivider{62, 62, 66};
inline constexpr QColor kSecondary{168, 168, 174};
inline constexpr QColor kBlue{64, 156, 255};
inline constexpr QColor kGray{142, 142, 147};

// Named text sizes, in pixels.
inline constexpr int kTitle2 = 20;
inline constexpr int kTitle3 = 18;
inline constexpr int kHeadline = 16;
inline constexpr int kCaption = 12;
}  // namespace look

using Label = app::NonInteractiveLabel;

/// Left-aligned.
Label* makeLabel(const QString& text, app::TextStyle style);
app::NonInteractiveImageView* makeSymbol(const QString& name, int side, const QColor& color);

/// A label on the left and a value on the right that may change.
class ValueRow : public QWidget {
 public:
  /// `mark` is placed before the label; may be null.
  ValueRow(QWidget* mark, const QString& label, const QString& value,
           const app::TextStyle& valueStyle);

  void setValue(const QString& value);

 protected:
  Label* value_;

 private:
  QString label_;
};

/// One labelled value with a blue symbol.
class InfoRow : public ValueRow {
 public:
  InfoRow(const QString& icon, const QString& label, const QString& value = {});
};

/// One labelled rate with a dot of its colour.
class StatsRow : public ValueRow {
 public:
  StatsRow(const QString& label, const QColor& color, const QString& value = {});
};

/// One connected client.
class ClientRow : public QWidget {
 public:
  ClientRow();

  void setKey(const QString& key);

 private:
  Label* key_;
};

/// The QR code of a text in the lowest correction level; a message where there can be none.
class QRCodeView : public app::CodeView {
 public:
  QRCodeView() : CodeView(nullptr) {}

  void setData(const QString& text);

 protected:
  void paintEvent(QPaintEvent* event) override;
};

/// A rounded box with a symbol and a title above its content.
class TitledBox : public QWidget {
 public:
  TitledBox(const QString& title, const QString& symbol);

  /// Where the content goes, from top to bottom.
  QVBoxLayout& content() { return *content_; }

 private:
  QVBoxLayout* content_;
};

}  // namespace quorin::panel
