// SPDX-License-Identifier: Apache-2.0
//
// Speaks with the engine of the project that includes ours, into the file that its argument names:
// it is found, and it finds kavrel-synth. Exit status: 0 on success.
#include <cstdio>
#include <string_view>

#include <kavrel.h>

namespace {

constexpr std::string_view kText = "Taken in by another project.";

kavrel_result_t onEvent(kavrel_event_struct* event, kavrel_event_t, void* failed) {
  char* text = nullptr;
  kavrel_event_get_text(event, &text);
  std::fprintf(stderr, "%s\n", text != nullptr ? text : "");
  *static_cast<bool*>(failed) = true;
  return KAVREL_SUCCESS;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) return 2;
  kavrel_params* const params = kavrel_params_new(nullptr);
  kavrel_params_set_val(params, KAVREL_KEY_OUTPUT_FILE, kavrel_val_string(arguments[1]));
  kavrel_port_struct* const port = kavrel_port_open(kavrel_engine_open(nullptr), params);
  kavrel_params_delete(params);
  bool failed = false;
  kavrel_port_set_callback(port, &onEvent, KAVREL_EVENT_ERROR, &failed);
  kavrel_background_t job = nullptr;
  if (kavrel_port_speak_text(port, kText.data(), kText.size(), nullptr, &job, nullptr) < 0)
    return 1;
  kavrel_port_wait(port, job);
  kavrel_port_close(port);
  return failed ? 1 : 0;
}
