#pragma once

#include <QDir>

namespace quorin::panel {

/// Saves the server panel stopped, with its QR code, and with three clients; returns how many
/// pictures were saved.
int takePanelPictures(const QDir& folder);

}  // namespace quorin::panel
