#ifndef MOLDEX_CSCOMPR_LZC_DECODER_H_
#define MOLDEX_CSCOMPR_LZC_DECODER_H_
#include "cscompr/buffers.h"
namespace cscompr {
class LzcDecoder {
 public:
  Outcome Start(const Buffers& buffers);
  Outcome Resume(const Buffers& buffers);
};
}  // namespace cscompr
#endif  // MOLDEX_CSCOMPR_LZC_DECODER_H_
