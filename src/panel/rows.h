#pragma once

#include <QColor>
#include <QLabel>
#include <QString>
#include <QWidget>

/// The lines that the panel's boxes are made of. Each carries its whole text as its accessible
/// name, so that a screen reader says label and value together.
namespace quorin::panel {

/// A label on the left and a value on the right that may change.
class ValueRow : public QWidget {
 public:
  void setValue(const QString& value);
  QString value() const { return value_->text(); }

 protected:
  ValueRow(QWidget* mark, const QString& label, QLabel* value);

 private:
  QString label_;
  QLabel* value_;
};

/// One labelled value with a blue symbol.
class InfoRow : public ValueRow {
 public:
  InfoRow(const QString& icon, const QString& label, const QString& value);
};

/// One labelled rate with a dot of its colour.
class StatsRow : public ValueRow {
 public:
  StatsRow(const QString& label, const QString& value, const QColor& color);
};

/// A fixed label and value without any mark.
class PlainRow : public ValueRow {
 public:
  PlainRow(const QString& label, const QString& value);
};

/// One connected client.
class ClientRow : public QWidget {
 public:
  explicit ClientRow(const QString& key);
  const QString& key() const { return key_; }

 private:
  QString key_;
};

}  // namespace quorin::panel
