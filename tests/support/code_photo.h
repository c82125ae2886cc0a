#pragma once

#include <QWidget>
#include <string>
#include <vector>

namespace quorin::test {

/// What a phone reads that photographs the widget, whose codes are white on a dark ground.
std::vector<std::string> codesOn(QWidget& widget);

}  // namespace quorin::test
