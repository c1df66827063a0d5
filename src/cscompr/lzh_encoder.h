#ifndef MOLDEX_CSCOMPR_LZH_ENCODER_H_
#define MOLDEX_CSCOMPR_LZH_ENCODER_H_
#include "cscompr/buffers.h"
namespace cscompr {
class LzhEncoder {
 public:
  Outcome Start(std::int32_t original_length, std::int32_t level, const Buffers& buffers);
  Outcome Resume(const Buffers& buffers);
};
}  // namespace cscompr
#endif  // MOLDEX_CSCOMPR_LZH_ENCODER_H_
