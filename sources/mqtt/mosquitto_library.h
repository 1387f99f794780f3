// libmosquitto, loaded when the first connection is made. A meter on another device pays nothing
// for it: with the TLS library behind it, it costs 5 ms of start-up and 0.6 MB of private memory.
#pragma once

#include <mosquitto.h>

namespace vantoscope {

/// The functions in use, under their own names without the prefix `mosquitto_`.
struct MosquittoLibrary {
#define VANTOSCOPE_MOSQUITTO_FUNCTIONS(X) \
  X(lib_init)                             \
  X(new)                                  \
  X(destroy)                              \
  X(threaded_set)                         \
  X(int_option)                           \
  X(tls_set)                              \
  X(username_pw_set)                      \
  X(will_set)                             \
  X(connect_async)                        \
  X(disconnect)                           \
  X(loop)                                 \
  X(socket)                               \
  X(want_write)                           \
  X(publish)                              \
  X(subscribe)                            \
  X(unsubscribe)                          \
  X(connect_callback_set)                 \
  X(message_callback_set)                 \
  X(publish_callback_set)                 \
  X(connack_string)                       \
  X(strerror)
#define VANTOSCOPE_DECLARE(name) decltype(&::mosquitto_##name) name##_ = nullptr;
  VANTOSCOPE_MOSQUITTO_FUNCTIONS(VANTOSCOPE_DECLARE)
#undef VANTOSCOPE_DECLARE
};

/// Loads and initialises the library at the first call; throws SourceError when it is not
/// installed.
const MosquittoLibrary& Mosquitto();

}  // namespace vantoscope
