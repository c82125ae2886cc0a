#pragma once

#include "ui/picture.h"
#include "wire/control_message.h"

#include <QString>
#include <cstddef>

namespace quorin::app {

/// What the Wi-Fi page has to show. Whether it is visible at all is not decided here.
struct WiFiPage {
  /// The title stands alone in the middle, in place of the code and the lines around it.
  bool networkMessage = false;
  QString title;

  QString info;             ///< the line above the dots
  std::size_t clients = 0;  ///< one dot each

  QString address;  ///< where phones reach this computer; empty without a network
  QString port = QString::number(wire::kDefaultPort);

  QString codeText;           ///< what the code says: address, colon, port
  pictures::PicturePtr code;  ///< none until there was something to encode
};

/// The window, as far as the Wi-Fi mode needs it. Main queue.
class WiFiPageView {
 public:
  virtual ~WiFiPageView() = default;
  WiFiPageView(const WiFiPageView&) = delete;
  WiFiPageView& operator=(const WiFiPageView&) = delete;

  /// Makes the Wi-Fi page the page in front, under whatever outranks it.
  virtual void openWiFiPage() = 0;

  /// Shows `page` wherever it differs from what was shown, and lays out.
  virtual void showWiFiPage(const WiFiPage& page) = 0;

  /// A line of the console.
  virtual void presentMessage(const QString& text, bool isStatus) = 0;

 protected:
  WiFiPageView() = default;
};

}  // namespace quorin::app
