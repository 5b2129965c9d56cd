#include "core/message_window.h"

#include "core/window_registry.h"

namespace zr {

namespace {

const WindowRegistration<Msg> kRegistration;

}  // namespace

}  // namespace zr
