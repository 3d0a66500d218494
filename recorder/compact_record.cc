#include "compact_record.h"

#include <cstddef>
#include <cstring>

#include "kel_asic_record_kinds.h"

namespace {

constexpr uint32_t register_header = sizeof(kel_asic_reg_access_params_t);
constexpr uint32_t transaction_header = offsetof(kel_asic_xn_t, xn);
constexpr uint32_t entry_size = sizeof(kel_asic_xn_entry_t);
constexpr uint32_t stats_size = sizeof(kel_asic_qos_stats_t);
constexpr uint32_t stats_offset = offsetof(kel_asic_qos_stats_params_t, stats);

uint32_t smaller(uint32_t one, uint32_t other) {
  return one < other ? one : other;
}

uint32_t shape_of(const call_payload &record) {
  if (record.bytes == nullptr)
    return MREC_SHAPE_OTHER;
  switch (kel_asic_record_kind(record.case_code, record.length)) {
    case KEL_ASIC_RECORD_REGISTER:
    case KEL_ASIC_RECORD_TIMER:
      return MREC_SHAPE_REGISTER;
    case KEL_ASIC_RECORD_TRANSACTION:
      return kel_asic_record_field(record.bytes, offsetof(kel_asic_xn_t, num)) <=
                     KEL_ASIC_XN_ENTRIES
                 ? MREC_SHAPE_TRANSACTION
                 : MREC_SHAPE_OTHER;
    case KEL_ASIC_RECORD_QOS:
      return MREC_SHAPE_QOS;
    default:
      return MREC_SHAPE_OTHER;
  }
}

// The words of a register record that a request or an answer of this type carries.
uint32_t word_count(const call_payload &record, uint32_t type, uint32_t type_with_words) {
  return type == type_with_words ? kel_asic_record_words(record.bytes, record.length) : 0;
}

compact_record measure_words(uint32_t header, uint32_t words, uint32_t cut_flag) {
  return {MREC_SHAPE_REGISTER, words > MREC_WORDS_MAX ? cut_flag : 0,
          header + 4 * smaller(words, MREC_WORDS_MAX)};
}

compact_record measure_other(const call_payload &record, uint32_t cut_flag) {
  if (record.bytes == nullptr)
    return {MREC_SHAPE_OTHER, 0, 0};
  return {MREC_SHAPE_OTHER, record.length > MREC_OTHER_MAX ? cut_flag : 0,
          smaller(record.length, MREC_OTHER_MAX)};
}

compact_record keep_qos_request(const call_payload &record, uint8_t *to) {
  constexpr uint32_t opts_offset = offsetof(kel_asic_qos_stats_params_t, opts);
  std::memcpy(to, record.bytes, stats_offset);
  std::memcpy(to + stats_offset, record.bytes + opts_offset, sizeof(uint32_t));
  return {MREC_SHAPE_QOS, 0, stats_offset + sizeof(uint32_t)};
}

compact_record measure_request(const call_payload &record, uint32_t shape) {
  if (shape == MREC_SHAPE_REGISTER) {
    const uint32_t words =
        word_count(record, kel_asic_record_field(record.bytes, 0), TYPE_WRITE_DHS);
    return measure_words(register_header, words, MREC_REQUEST_CUT);
  }
  if (shape == MREC_SHAPE_OTHER)
    return measure_other(record, MREC_REQUEST_CUT);
  const uint32_t entries = kel_asic_record_field(record.bytes, offsetof(kel_asic_xn_t, num));
  return {shape, 0, transaction_header + entries * entry_size};
}

}  // namespace

compact_record keep_request(const call_payload &record, uint8_t *to) {
  const uint32_t shape = shape_of(record);
  if (shape == MREC_SHAPE_QOS)
    return keep_qos_request(record, to);
  const compact_record kept = measure_request(record, shape);
  if (kept.size != 0)
    std::memcpy(to, record.bytes, kept.size);
  return kept;
}

// The type is that of the request: the service may have overwritten it.
compact_record measure_answer(const call_payload &record, uint32_t shape, const uint8_t *request) {
  switch (shape) {
    case MREC_SHAPE_REGISTER:
      return measure_words(8, word_count(record, kel_asic_record_field(request, 0), TYPE_READ_DHS),
                           MREC_ANSWER_CUT);
    case MREC_SHAPE_TRANSACTION:
      return {shape, 0, 0};
    case MREC_SHAPE_QOS:
      return {shape, 0, kel_asic_record_field(request, 0) == QOS_STATS_GET ? stats_size : 0};
    default:
      return measure_other(record, MREC_ANSWER_CUT);
  }
}

void keep_answer(const call_payload &record, const compact_record &answer, uint8_t *to) {
  if (answer.size == 0)
    return;
  if (answer.shape == MREC_SHAPE_QOS) {
    std::memcpy(to, record.bytes + stats_offset, answer.size);
    return;
  }
  if (answer.shape == MREC_SHAPE_OTHER) {
    std::memcpy(to, record.bytes, answer.size);
    return;
  }
  std::memcpy(to, record.bytes + offsetof(kel_asic_reg_access_params_t, data), 4);
  std::memcpy(to + 4, record.bytes + offsetof(kel_asic_reg_access_params_t, num), 4);
  std::memcpy(to + 8, record.bytes + register_header, answer.size - 8);
}
