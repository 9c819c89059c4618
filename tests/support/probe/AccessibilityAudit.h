#pragma once

#include <QtCore/QJsonArray>

/// Reads the program as a screen reader does.
namespace AccessibilityAudit {

/// Every shown item that takes the keyboard focus or a click but says nothing to a screen reader: as
/// described by ItemQuery, with "missing" telling what ("name" or "role"). What is marked as ignored is left
/// out.
QJsonArray namelessItems();

} // namespace AccessibilityAudit
