#pragma once

#include <QApplication>
#include <memory>

namespace quorin::app {

/// The application, with name, icon and dark look; `argc` outlives it. Without a display the
/// process ends with a message and exit status 1 (Qt would abort).
std::unique_ptr<QApplication> makeApplication(int& argc, char** argv);

}  // namespace quorin::app
