#include "core/stringList.h"

namespace qvgst {

void SetStrings(GstStructure* caps, const char* field, const std::vector<std::string>& strings) {
  GValue list = G_VALUE_INIT;
  gst_value_list_init(&list, static_cast<guint>(strings.size()));
  for (const std::string& string : strings) {
    GValue value = G_VALUE_INIT;
    g_value_init(&value, G_TYPE_STRING);
    g_value_set_string(&value, string.c_str());
    gst_value_list_append_and_take_value(&list, &value);
  }
  gst_structure_take_value(caps, field, &list);
}

}  // namespace qvgst
