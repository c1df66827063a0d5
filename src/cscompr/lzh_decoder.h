#ifndef MOLDEX_CSCOMPR_LZH_DECODER_H_
#define MOLDEX_CSCOMPR_LZH_DECODER_H_
#include "cscompr/buffers.h"
namespace cscompr {
class LzhDecoder {
 public:
  Outcome Start(const Buffers& buffers);
  Outcome Resume(const Buffers& buffers);
};
}  // namespace cscompr
#endif  // MOLDEX_CSCOMPR_LZH_DECODER_H_
