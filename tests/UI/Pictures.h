#pragma once

#include <QImage>

#include <string>

namespace vorlin {

/// Keeps a picture for people to look at.
void keep(const QImage& picture, const std::string& name);

/// The picture of this name that somebody has looked at; null where there is none.
QImage reference(const std::string& name);

/// How far two pictures of one size differ where a person looks: averages of 4 × 4 pixels, 0 to
/// 255.
int visibleDifference(const QImage& one, const QImage& other);

} // namespace vorlin
