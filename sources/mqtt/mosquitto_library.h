// SPDX-License-Identifier: GPL-3.0-or-later
// libmosquitto, loaded when the first connection is made: with the TLS library behind it, it costs
// 5 ms of start-up and 0.6 MB of private memory.
#pragma once

#include <mosquitto.h>

#include "sources/shared_library.h"

namespace vantoscope {

class MosquittoLibrary {
  const SharedLibrary library_{"A network host", "libmosquitto.so.1", "libmosquitto1"};

 public:
  /// Initialises the library. Throws SourceError when it is not installed.
  MosquittoLibrary() { lib_init(); }

  VANTOSCOPE_LIBRARY_FUNCTION(lib_init, mosquitto_lib_init);
  VANTOSCOPE_LIBRARY_FUNCTION(new_client, mosquitto_new);
  VANTOSCOPE_LIBRARY_FUNCTION(destroy, mosquitto_destroy);
  VANTOSCOPE_LIBRARY_FUNCTION(validate_utf8, mosquitto_validate_utf8);
  VANTOSCOPE_LIBRARY_FUNCTION(threaded_set, mosquitto_threaded_set);
  VANTOSCOPE_LIBRARY_FUNCTION(int_option, mosquitto_int_option);
  VANTOSCOPE_LIBRARY_FUNCTION(tls_set, mosquitto_tls_set);
  VANTOSCOPE_LIBRARY_FUNCTION(username_pw_set, mosquitto_username_pw_set);
  VANTOSCOPE_LIBRARY_FUNCTION(will_set, mosquitto_will_set);
  VANTOSCOPE_LIBRARY_FUNCTION(connect_async, mosquitto_connect_async);
  VANTOSCOPE_LIBRARY_FUNCTION(disconnect, mosquitto_disconnect);
  VANTOSCOPE_LIBRARY_FUNCTION(loop, mosquitto_loop);
  VANTOSCOPE_LIBRARY_FUNCTION(socket, mosquitto_socket);
  VANTOSCOPE_LIBRARY_FUNCTION(want_write, mosquitto_want_write);
  VANTOSCOPE_LIBRARY_FUNCTION(publish, mosquitto_publish);
  VANTOSCOPE_LIBRARY_FUNCTION(subscribe, mosquitto_subscribe);
  VANTOSCOPE_LIBRARY_FUNCTION(unsubscribe, mosquitto_unsubscribe);
  VANTOSCOPE_LIBRARY_FUNCTION(connect_callback_set, mosquitto_connect_callback_set);
  VANTOSCOPE_LIBRARY_FUNCTION(message_callback_set, mosquitto_message_callback_set);
  VANTOSCOPE_LIBRARY_FUNCTION(publish_callback_set, mosquitto_publish_callback_set);
  VANTOSCOPE_LIBRARY_FUNCTION(connack_string, mosquitto_connack_string);
  VANTOSCOPE_LIBRARY_FUNCTION(strerror, mosquitto_strerror);
};

/// Loads the library at the first call; throws SourceError when it is not installed.
inline const MosquittoLibrary& Mosquitto() {
  static const MosquittoLibrary library;
  return library;
}

}  // namespace vantoscope
