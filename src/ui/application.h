#pragma once

#include <QApplication>
#include <memory>

namespace quorin::app {

/// The dark application with its icon, whose name has been set; `argc` outlives it. The lack of a
/// display ends the process with a sentence and exit status 1, where Qt would abort it.
std::unique_ptr<QApplication> makeApplication(int& argc, char** argv);

}  // namespace quorin::app
