#ifndef MOLDEX_CSCOMPR_LZC_ENCODER_H_
#define MOLDEX_CSCOMPR_LZC_ENCODER_H_
#include "cscompr/buffers.h"
namespace cscompr {
class LzcEncoder {
 public:
  Outcome Start(std::int32_t original_length, const Buffers& buffers);
  Outcome Resume(const Buffers& buffers);
};
}  // namespace cscompr
#endif  // MOLDEX_CSCOMPR_LZC_ENCODER_H_
