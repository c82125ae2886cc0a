#pragma once

#include <QImage>
#include <span>
#include <string>

namespace quorin::listen {

/// A picture of the arrival jitter: each interval's deviation from 20 ms over time, and below it
/// how often each deviation occurred. Needs a QGuiApplication (for the fonts). Takes any input,
/// none included.
QImage drawJitter(std::span<const float> deviationsMs, const std::string& title);

}  // namespace quorin::listen
