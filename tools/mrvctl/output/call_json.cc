// Calls as objects.
#include "output/call_json.h"

#include "asic/port_reference.h"
#include "output/qos_tables.h"
#include "text/times.h"

namespace mrvctl {
namespace {

template <typename Value>
Json or_null(const std::optional<Value> &value) {
  return value ? Json(*value) : Json();
}

Json register_name_json(uint32_t address, const AddressIndex &index) {
  const std::string name = index.name(address);
  return name.empty() ? Json() : Json(name);
}

void add_register(Json &object, const DecodedCall &call, const RegisterFields &request,
                  const AddressIndex &index) {
  const auto *answer = std::get_if<RegisterFields>(&call.answer);
  const bool read = is_read(request);
  object["module"] = request.module;
  object["asic"] = request.asic;
  object["address"] = request.address;
  object["register"] = register_name_json(request.address, index);
  const RegisterFields *values = read ? answer : &request;
  if (is_run(request)) {
    object["num"] = request.num;
    object["answered"] = answer == nullptr || !read ? Json() : Json(answer->num);
    object["words"] = values == nullptr ? Json() : Json(values->words);
    object["cut"] = read ? call.answer_cut : call.request_cut;
  } else {
    object["data"] = values == nullptr ? Json() : Json(values->data);
    object["mask"] = request.mask;
  }
  add_caller(object, request);
}

Json entry_json(const kel_asic_xn_entry_t &entry, const Caller *caller, bool lost,
                const AddressIndex &index) {
  Json object = {{"module", entry.module},
                 {"asic", static_cast<uint32_t>(entry.asic_map)},
                 {"address", entry.reg},
                 {"register", register_name_json(entry.reg, index)},
                 {"data", entry.data},
                 {"mask", entry.mask},
                 {"lost", lost}};
  if (caller != nullptr)
    add_caller(object, *caller);
  return object;
}

void add_transaction(Json &object, const DecodedCall &call, const TransactionFields &request,
                     const AddressIndex &index) {
  object["name"] = request.name;
  object["reorder"] = request.reorder;
  object["num"] = request.num;
  Json entries = Json::array();
  for (size_t i = 0; i < request.entries.size(); ++i)
    entries.push_back(entry_json(request.entries[i], request.callers[i].get(), call.lost, index));
  object["entries"] = std::move(entries);
}

void add_timer(Json &object, const TimerFields &request) {
  object["module"] = request.module;
  object["asic"] = request.asic;
  object["data"] = request.time;
}

void add_qos(Json &object, const DecodedCall &call, const QosFields &request) {
  object["module"] = request.module;
  object["asic"] = request.asic;
  const bool all = request.type == QOS_STATS_CLEAR_ALL;
  object["port"] = all ? Json() : Json(port_text(request.port_type, request.port));
  object["opts"] = request.opts;
  if (request.type != QOS_STATS_GET)
    return;
  const auto *answer = std::get_if<QosFields>(&call.answer);
  object["stats"] = answer == nullptr ? Json() : qos_json(answer->stats);
}

}  // namespace

void add_caller(Json &object, const Caller &caller) {
  object["context"] = caller.context;
  object["func"] = caller.func;
  object["file"] = caller.file;
  object["line"] = caller.line;
}

Json call_json(const DecodedCall &call, const AddressIndex &index) {
  Json object = {{"time", utc_time_text(call.wall_ns)},
                 {"time_ns", call.wall_ns},
                 {"program", call.process->program},
                 {"pid", call.process->pid},
                 {"number", call.number},
                 {"duration_ns", or_null(call.duration_ns)},
                 {"operation", call.operation},
                 {"case", call.case_code},
                 {"driver", call.driver},
                 {"length", call.length}};
  if (const auto *reg = std::get_if<RegisterFields>(&call.request))
    add_register(object, call, *reg, index);
  else if (const auto *transaction = std::get_if<TransactionFields>(&call.request))
    add_transaction(object, call, *transaction, index);
  else if (const auto *qos = std::get_if<QosFields>(&call.request))
    add_qos(object, call, *qos);
  else if (const auto *timer = std::get_if<TimerFields>(&call.request))
    add_timer(object, *timer);
  object["result"] = or_null(call.result);
  object["errno"] = call.result.value_or(0) < 0 ? Json(call.error_number) : Json();
  object["outcome"] = call.outcome;
  object["failed"] = call.failed;
  return object;
}

}  // namespace mrvctl
