// Dash patterns for lines. A style with no dashes is solid.
#pragma once

#include <cstdint>
#include <vector>

#include "display/resource.h"

class QelLineStyle : public QelResource {
 public:
  // Copies `count` dash lengths (pixels, alternately on and off).
  QelLineStyle(QelDisplay* display, uint16_t count, const uint8_t* dashes, uint16_t offset,
               const char* name = nullptr);
  ~QelLineStyle() override;

  uint16_t getCount() const { return uint16_t(_dashes.size()); }
  uint16_t getOffset() const { return _offset; }
  const uint8_t* getDashes() const { return _dashes.data(); }
  bool isSolid() const { return _dashes.empty(); }
  bool equals(uint16_t count, const uint8_t* dashes, uint16_t offset) const;

 private:
  uint16_t _offset;
  std::vector<uint8_t> _dashes;
};
