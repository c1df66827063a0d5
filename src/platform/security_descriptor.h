// The layout of a self-relative security descriptor, as entries carry it.
#ifndef MOLDEX_PLATFORM_SECURITY_DESCRIPTOR_H_
#define MOLDEX_PLATFORM_SECURITY_DESCRIPTOR_H_

#include <cstdint>
#include <span>

namespace moldex {

// Whether everything that the descriptor points to lies within the bytes and is whole. The system
// does not check that, so bytes out of an archive have to be checked before it gets them.
//
// Revision (1 byte, 1), reserved (1), control (2, little-endian like all that follows), offsets of
// owner, group, system ACL and discretionary ACL (4 each, 0 for none). Owner and group are
// security identifiers: revision (1), count of parts (1, at most 15), authority (6), 4 bytes for
// each part. An ACL: revision (1), reserved (1), its size (2), count of its entries (2), reserved
// (2), the entries: type (1), flags (1), size (2, a multiple of 4), the rest.
bool IsSecurityDescriptor(std::span<const std::uint8_t> bytes);

}  // namespace moldex

#endif  // MOLDEX_PLATFORM_SECURITY_DESCRIPTOR_H_
