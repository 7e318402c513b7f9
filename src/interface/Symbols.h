#pragma once

#include <QColor>
#include <QImage>
#include <QString>

namespace tallowfern {

/// The symbol of this name in one colour, `size` logical pixels square, sharp at the scale `devicePixelRatio`.
/// Drawn once and kept. Empty when there is no such symbol.
QImage symbolImage(const QString& name, const QColor& colour, int size, double devicePixelRatio);

} // namespace tallowfern
