// Writing graphics as a data file and reading them back, as a program saving and loading does.
#pragma once

#include <gtest/gtest.h>

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

// Saves the graphics, reads them back and saves what was read: succeeds when all came back and
// the second file is the first (their header comments aside). `loaded` receives the graphics
// read, `text` the first file.
::testing::AssertionResult readBackSavesTheSame(QelDisplay* display,
                                                std::initializer_list<QelGraphic*> graphics,
                                                std::vector<std::unique_ptr<QelGraphic>>& loaded,
                                                std::string& text);

// Reads `text` with one occurrence of `from` (the first, or the last when `last`) replaced by
// `to`: a saved file spoilt in one place. A `from` that is not in the text fails the test.
std::vector<std::unique_ptr<QelGraphic>> loadEdited(QelDisplay* display, std::string text,
                                                    const std::string& from, const std::string& to,
                                                    bool last = false);

}  // namespace kestrel::test
