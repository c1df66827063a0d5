#include "report/last_failure.h"

namespace moldex {
namespace {

PrintedFailure last_failure;

}  // namespace

void NoteFailure(PrintedFailure failure) { last_failure = failure; }

const PrintedFailure& LastFailure() { return last_failure; }

}  // namespace moldex
