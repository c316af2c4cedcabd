// Writing graphics as a data file and reading them back, as a program saving and loading does.
#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

class QelDisplay;
class QelGraphic;

namespace kestrel::test {

// Saves the graphics, then reads the file; `text`, when given, receives the file. Empty when
// saving or reading failed.
std::vector<std::unique_ptr<QelGraphic>> roundTrip(QelDisplay* display,
                                                   std::initializer_list<QelGraphic*> graphics,
                                                   std::string* text = nullptr);

}  // namespace kestrel::test
