// SPDX-License-Identifier: GPL-3.0-or-later
#include "presentation/x11_pointer_rest.h"

#include <QGuiApplication>
#include <string_view>

#include "presentation/x11_properties.h"

namespace vantoscope {
namespace {

/// The count of the pointer that every program has unless a user has given it another one.
constexpr std::string_view kPointerIdle = "DEVICEIDLETIME 2";
/// Milliseconds without use that count as rest; one event tells when a longer one is over.
constexpr std::uint32_t kRest = 300;
/// Of a counter in the list, before its name; the library takes the structure for longer.
constexpr int kBytesBeforeName = 14;

std::string_view NameOf(const xcb_sync_systemcounter_t* counter) {
  return {reinterpret_cast<const char*>(counter) + kBytesBeforeName, counter->name_len};
}

xcb_sync_counter_t FindCounter(xcb_connection_t* connection) {
  const auto version_cookie =
      xcb_sync_initialize(connection, XCB_SYNC_MAJOR_VERSION, XCB_SYNC_MINOR_VERSION);
  const auto list_cookie = xcb_sync_list_system_counters(connection);
  const auto version = Owned(xcb_sync_initialize_reply(connection, version_cookie, nullptr));
  const auto list = Owned(xcb_sync_list_system_counters_reply(connection, list_cookie, nullptr));
  if (!version || !list) return XCB_NONE;
  for (auto at = xcb_sync_list_system_counters_counters_iterator(list.get()); at.rem > 0;
       xcb_sync_systemcounter_next(&at)) {
    if (NameOf(at.data) == kPointerIdle) return at.data->counter;
  }
  return XCB_NONE;
}

}  // namespace

std::unique_ptr<X11PointerRest> X11PointerRest::Open() {
  const auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  if (x11 == nullptr) return nullptr;
  xcb_connection_t* const connection = x11->connection();
  const auto* const extension = xcb_get_extension_data(connection, &xcb_sync_id);
  if (extension == nullptr || extension->present == 0) return nullptr;
  const xcb_sync_counter_t counter = FindCounter(connection);
  if (counter == XCB_NONE) return nullptr;
  const int event = extension->first_event + XCB_SYNC_ALARM_NOTIFY;
  return std::unique_ptr<X11PointerRest>(new X11PointerRest(connection, counter, event));
}

X11PointerRest::X11PointerRest(xcb_connection_t* connection, xcb_sync_counter_t counter, int event)
    : connection_(connection),
      counter_(counter),
      event_(event),
      alarm_(xcb_generate_id(connection)) {
  qApp->installNativeEventFilter(this);
  xcb_sync_create_alarm_value_list_t alarm{};
  alarm.counter = counter_;
  alarm.valueType = XCB_SYNC_VALUETYPE_ABSOLUTE;
  alarm.value.lo = kRest;
  alarm.testType = XCB_SYNC_TESTTYPE_NEGATIVE_TRANSITION;
  alarm.delta = {};  // the alarm stays as it is when it has gone off
  alarm.events = 1;
  xcb_sync_create_alarm_aux(connection_, alarm_,
                            XCB_SYNC_CA_COUNTER | XCB_SYNC_CA_VALUE_TYPE | XCB_SYNC_CA_VALUE |
                                XCB_SYNC_CA_TEST_TYPE | XCB_SYNC_CA_DELTA | XCB_SYNC_CA_EVENTS,
                            &alarm);
}

X11PointerRest::~X11PointerRest() {
  xcb_sync_destroy_alarm(connection_, alarm_);
  if (qApp != nullptr) qApp->removeNativeEventFilter(this);
}

// A count that has not passed the limit when the pointer is used does not fall below it.
bool X11PointerRest::Begin() {
  over_ = false;
  const auto cookie = xcb_sync_query_counter(connection_, counter_);
  const auto reply = Owned(xcb_sync_query_counter_reply(connection_, cookie, nullptr));
  return reply && (reply->counter_value.hi > 0 || reply->counter_value.lo > kRest);
}

bool X11PointerRest::nativeEventFilter(const QByteArray& type, void* message, qintptr*) {
  if (type != "xcb_generic_event_t") return false;
  constexpr int kSentBit = 0x80;
  const auto* const event = static_cast<xcb_generic_event_t*>(message);
  if ((event->response_type & ~kSentBit) != event_) return false;
  over_ = over_ || reinterpret_cast<const xcb_sync_alarm_notify_event_t*>(event)->alarm == alarm_;
  return false;
}

}  // namespace vantoscope
