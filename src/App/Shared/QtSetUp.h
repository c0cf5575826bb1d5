#pragma once

namespace vorlin {

/// What Qt is told of the program before its application is made. Main thread.
void setUpQt();

} // namespace vorlin
