/**
 * @file
 * The file in which a process keeps its last service calls: a header, then a ring of notes.
 *
 * The file is the interface between the process that writes it, which may have ended, and its
 * readers. It is the same on 32-bit and 64-bit machines: little-endian, without gaps. A comment
 * after a field starts with its offset in bytes. docs/recording.md describes the file.
 *
 * A position counts bytes since the recording began, and only grows. Its offset in the file is
 * ::MREC_HEADER_SIZE + position % ring_size. The notes from tail up to head are complete: tail
 * moves before a note is overwritten, head moves after a note is written. A reader reads both,
 * copies notes and then reads tail again: the notes from the new tail on were copied completely. A
 * process that is killed at any instant leaves only complete notes between the two.
 */
#ifndef RECORDING_FORMAT_H
#define RECORDING_FORMAT_H

#include <stdint.h>

#ifdef __cplusplus
#include <cstddef>
#endif

/** Aligned to 8 bytes on every machine, so that it is read and written in one piece. */
typedef uint64_t mrec_u64_t __attribute__((aligned(8)));

/** First bytes of a recording, written last: a file that begins with zeros has no calls. */
#define MREC_MAGIC "MRVNREC\n"
#define MREC_VERSION UINT32_C(1)

/** Bytes in front of the ring. */
#define MREC_HEADER_SIZE UINT32_C(16384)

/** Limits of ring_size, which is a multiple of 4096, and its default. */
#define MREC_RING_MIN UINT32_C(65536)
#define MREC_RING_MAX UINT32_C(1073741824)
#define MREC_RING_DEFAULT UINT32_C(4194304)

/** Maximum number of data words that are kept of a register request, and of its answer. */
#define MREC_WORDS_MAX UINT32_C(2048)

/** Maximum number of bytes that are kept of a record that kel_asic_lib_common.h does not declare.
 */
#define MREC_OTHER_MAX UINT32_C(256)

/** Maximum number of bytes that are kept of any request: a transaction with all its entries. */
#define MREC_REQUEST_MAX UINT32_C(10280)

/** Maximum number of bytes of the note of a call: its request, its answer and padding. */
#define MREC_CALL_MAX UINT32_C(26768)

/** Begins each note, exclusive-or'ed with the low 32 bits of its position. */
#define MREC_NOTE_MARK UINT32_C(0xCA11CA11)

/** Kinds of notes. A reader skips unknown kinds. */
enum {
  MREC_NOTE_FILLER = 0, /**< without content; fills the ring up to its end */
  MREC_NOTE_CALL = 1,   /**< ::mrec_call_t and the kept part of its record */
  MREC_NOTE_START = 2,  /**< ::mrec_start_t: the program opened a transaction */
  MREC_NOTE_SITE = 3,   /**< ::mrec_site_t and two texts: where writes are called */
  MREC_NOTE_JOIN = 4,   /**< ::mrec_join_t: a write for the open transaction */
  MREC_NOTE_REFUSAL = 5 /**< ::mrec_refusal_t: writes that the library did not take */
};

/** Which part of a record is kept. */
enum {
  /** No record, or any other: its first bytes, in the request and in the answer. */
  MREC_SHAPE_OTHER = 0,
  /**
   * kel_asic_reg_access_params_t. Request: its 196 bytes, then the words of a write of several
   * words. Answer: data, num, then the words of a read of several words.
   */
  MREC_SHAPE_REGISTER = 1,
  /** kel_asic_xn_t of 0 to 512 entries. Request: 40 bytes, then the num entries. Answer: none. */
  MREC_SHAPE_TRANSACTION = 2,
  /** kel_asic_qos_stats_params_t. Request: 16 bytes, then opts. Answer of a get: stats. */
  MREC_SHAPE_QOS = 3
};

/** Operations of mrec_join_t: the library's functions that write registers. */
enum {
  MREC_JOIN_WRITE = 1,  /**< a write of one register */
  MREC_JOIN_FIELD = 2,  /**< a write of a field */
  MREC_JOIN_TABLE = 3,  /**< a write of table entries */
  MREC_JOIN_PROGRAM = 4 /**< a step of a program */
};

/** Bits of mrec_join_t::flags: reg is the address, and block and instance have no meaning. */
enum { MREC_JOIN_RAW = 1 };

/** Maximum number of words that the note of a table write keeps: those of a full transaction. */
#define MREC_JOIN_WORDS_MAX UINT32_C(512)

/** Bits of mrec_call_t::flags: the request or the answer is truncated. */
enum { MREC_REQUEST_CUT = 1, MREC_ANSWER_CUT = 2 };

/** Begins every note. 16 bytes; a note begins at a multiple of 16 and never wraps. */
typedef struct mrec_note_t {
  uint32_t mark;     /**< 0: ::MREC_NOTE_MARK ^ low 32 bits of the note's position */
  uint32_t size;     /**< 4: bytes of the complete note, a multiple of 16, not 0 */
  uint32_t kind;     /**< 8: its kind */
  uint32_t reserved; /**< 12: 0 */
} mrec_note_t;

/** A call that has returned. 96 bytes, then request_size bytes of request, then of answer. */
typedef struct mrec_call_t {
  mrec_note_t note;        /**< 0: the beginning of every note */
  mrec_u64_t number;       /**< 16: number of the call in the process, from 1 */
  mrec_u64_t wall_ns;      /**< 24: when it began: CLOCK_REALTIME in nanoseconds */
  mrec_u64_t monotonic_ns; /**< 32: when it began: CLOCK_MONOTONIC in nanoseconds */
  mrec_u64_t duration_ns;  /**< 40: its duration */
  uint32_t case_code;      /**< 48: case code */
  uint32_t driver;         /**< 52: driver identifier */
  uint32_t length;         /**< 56: length of the record as it was passed */
  int32_t result;          /**< 60: what the call returned */
  int32_t error_number;    /**< 64: errno where result is below 0; else 0 */
  uint32_t shape;          /**< 68: which part of the record is kept */
  uint32_t flags;          /**< 72: what is truncated */
  uint32_t request_size;   /**< 76: bytes kept of the request */
  uint32_t answer_size;    /**< 80: bytes kept of the answer, which follow; 0 if the call failed */
  uint32_t reserved[3];    /**< 84: 0 */
} mrec_call_t;

/** A transaction that the program opened. 64 bytes. */
typedef struct mrec_start_t {
  mrec_note_t note;        /**< 0: the beginning of every note */
  mrec_u64_t wall_ns;      /**< 16: when it was opened: CLOCK_REALTIME in nanoseconds */
  mrec_u64_t monotonic_ns; /**< 24: when it was opened: CLOCK_MONOTONIC in nanoseconds */
  char name[32];           /**< 32: its name, NUL-padded, byte 31 NUL */
} mrec_start_t;

/** A function that writes. 32 bytes, then the function's name and its file. */
typedef struct mrec_site_t {
  mrec_note_t note;   /**< 0: the beginning of every note */
  uint32_t number;    /**< 16: number of the site in the process, from 1; it wraps */
  uint32_t func_size; /**< 20: bytes of the function's name, at most 31, without NUL */
  uint32_t file_size; /**< 24: bytes of the file's name, at most 127, without NUL */
  uint32_t reserved;  /**< 28: 0 */
} mrec_site_t;

/**
 * A write that the program made while a transaction was open, noted before the library gets it.
 * 80 bytes; after the note of a table write, space for its last words. A program of the library has
 * one note per step.
 *
 * The words of a table write are added to its note when the library has taken the write: first the
 * words, then their number. Nothing else in a note changes later.
 */
typedef struct mrec_join_t {
  mrec_note_t note;  /**< 0: the beginning of every note */
  uint32_t number;   /**< 16: number of the write in the process, from 1; it wraps */
  uint8_t operation; /**< 20: MREC_JOIN_WRITE ... MREC_JOIN_PROGRAM */
  uint8_t flags;     /**< 21: ::MREC_JOIN_RAW */
  uint16_t kept;     /**< 22: of a table write: its last words, which follow the note */
  int32_t module;    /**< 24: module number */
  uint32_t asic;     /**< 28: ASIC number */
  uint32_t block;    /**< 32: block */
  uint32_t instance; /**< 36: instance of the block */
  uint32_t reg;      /**< 40: register of the block; a raw write: the address */
  uint32_t index;    /**< 44: of a table write: the first entry; else 0 */
  uint32_t entries;  /**< 48: of a table write: the number of table entries; else 0 */
  uint32_t data;     /**< 52: the value; of a table write 0 */
  uint32_t mask;     /**< 56: the bits that are written */
  uint32_t place;    /**< 60: index of its first word in the transaction, or less */
  uint32_t words;    /**< 64: words that it adds; 0 if only the register map knows the number */
  uint32_t context;  /**< 68: the caller's context */
  uint32_t line;     /**< 72: the caller's line */
  uint32_t site;     /**< 76: the caller's function: a site that was noted before */
} mrec_join_t;

/** Writes that were noted before, and that the library refused. 32 bytes. */
typedef struct mrec_refusal_t {
  mrec_note_t note;  /**< 0: the beginning of every note */
  uint32_t number;   /**< 16: number of the first of these writes */
  uint32_t writes;   /**< 20: how many writes */
  uint32_t partly;   /**< 24: 1: a program failed, of whose first steps any number joined; else 0 */
  uint32_t reserved; /**< 28: 0 */
} mrec_refusal_t;

/** The call in flight: it has begun and not yet returned. 10328 bytes. */
typedef struct mrec_begun_t {
  mrec_u64_t number;                 /**< 0: as in ::mrec_call_t; 0 if no call is in flight */
  mrec_u64_t wall_ns;                /**< 8: when it began, as there */
  mrec_u64_t monotonic_ns;           /**< 16: when it began, as there */
  uint32_t case_code;                /**< 24: case code */
  uint32_t driver;                   /**< 28: driver identifier */
  uint32_t length;                   /**< 32: length of the record as it was passed */
  uint32_t shape;                    /**< 36: which part of the record is kept */
  uint32_t flags;                    /**< 40: what is truncated */
  uint32_t request_size;             /**< 44: bytes kept of the request */
  uint8_t request[MREC_REQUEST_MAX]; /**< 48: the request, then zeros or leftovers of other calls */
} mrec_begun_t;

/** Beginning of the file. 10600 bytes, then zeros up to ::MREC_HEADER_SIZE. */
typedef struct mrec_header_t {
  char magic[8];           /**< 0: ::MREC_MAGIC, without its NUL */
  uint32_t version;        /**< 8: ::MREC_VERSION */
  uint32_t header_size;    /**< 12: ::MREC_HEADER_SIZE */
  mrec_u64_t ring_size;    /**< 16: bytes of the ring, which ends the file */
  mrec_u64_t tail;         /**< 24: position of the oldest note */
  mrec_u64_t head;         /**< 32: position after the newest note */
  mrec_u64_t missed;       /**< 40: calls that could not be recorded */
  mrec_u64_t wall_ns;      /**< 48: when the recording began: CLOCK_REALTIME in nanoseconds */
  mrec_u64_t monotonic_ns; /**< 56: when it began: CLOCK_MONOTONIC in nanoseconds */
  uint32_t pid;            /**< 64: the process */
  uint32_t parent_pid;     /**< 68: its parent; 0 if it is unknown */
  uint32_t word_size;      /**< 72: bytes of its pointers; 0 if it is unknown */
  uint32_t reserved;       /**< 76: 0 */
  char boot_id[40];        /**< 80: boot of the machine, NUL-padded; empty if it is unknown */
  char program[152];       /**< 120: name of the program, NUL-padded, byte 151 NUL */
  mrec_begun_t begun;      /**< 272: the call in flight */
} mrec_header_t;

#ifdef __cplusplus
static_assert(sizeof(mrec_note_t) == 16);
static_assert(offsetof(mrec_note_t, mark) == 0);
static_assert(offsetof(mrec_note_t, size) == 4);
static_assert(offsetof(mrec_note_t, kind) == 8);
static_assert(offsetof(mrec_note_t, reserved) == 12);

static_assert(sizeof(mrec_call_t) == 96);
static_assert(offsetof(mrec_call_t, number) == 16);
static_assert(offsetof(mrec_call_t, wall_ns) == 24);
static_assert(offsetof(mrec_call_t, monotonic_ns) == 32);
static_assert(offsetof(mrec_call_t, duration_ns) == 40);
static_assert(offsetof(mrec_call_t, case_code) == 48);
static_assert(offsetof(mrec_call_t, driver) == 52);
static_assert(offsetof(mrec_call_t, length) == 56);
static_assert(offsetof(mrec_call_t, result) == 60);
static_assert(offsetof(mrec_call_t, error_number) == 64);
static_assert(offsetof(mrec_call_t, shape) == 68);
static_assert(offsetof(mrec_call_t, flags) == 72);
static_assert(offsetof(mrec_call_t, request_size) == 76);
static_assert(offsetof(mrec_call_t, answer_size) == 80);
static_assert(offsetof(mrec_call_t, reserved) == 84);

static_assert(sizeof(mrec_start_t) == 64);
static_assert(offsetof(mrec_start_t, wall_ns) == 16);
static_assert(offsetof(mrec_start_t, monotonic_ns) == 24);
static_assert(offsetof(mrec_start_t, name) == 32);

static_assert(sizeof(mrec_site_t) == 32);
static_assert(offsetof(mrec_site_t, number) == 16);
static_assert(offsetof(mrec_site_t, func_size) == 20);
static_assert(offsetof(mrec_site_t, file_size) == 24);
static_assert(offsetof(mrec_site_t, reserved) == 28);

static_assert(sizeof(mrec_join_t) == 80);
static_assert(offsetof(mrec_join_t, number) == 16);
static_assert(offsetof(mrec_join_t, operation) == 20);
static_assert(offsetof(mrec_join_t, flags) == 21);
static_assert(offsetof(mrec_join_t, kept) == 22);
static_assert(offsetof(mrec_join_t, module) == 24);
static_assert(offsetof(mrec_join_t, asic) == 28);
static_assert(offsetof(mrec_join_t, block) == 32);
static_assert(offsetof(mrec_join_t, instance) == 36);
static_assert(offsetof(mrec_join_t, reg) == 40);
static_assert(offsetof(mrec_join_t, index) == 44);
static_assert(offsetof(mrec_join_t, entries) == 48);
static_assert(offsetof(mrec_join_t, data) == 52);
static_assert(offsetof(mrec_join_t, mask) == 56);
static_assert(offsetof(mrec_join_t, place) == 60);
static_assert(offsetof(mrec_join_t, words) == 64);
static_assert(offsetof(mrec_join_t, context) == 68);
static_assert(offsetof(mrec_join_t, line) == 72);
static_assert(offsetof(mrec_join_t, site) == 76);

static_assert(sizeof(mrec_refusal_t) == 32);
static_assert(offsetof(mrec_refusal_t, number) == 16);
static_assert(offsetof(mrec_refusal_t, writes) == 20);
static_assert(offsetof(mrec_refusal_t, partly) == 24);
static_assert(offsetof(mrec_refusal_t, reserved) == 28);

static_assert(sizeof(mrec_begun_t) == 10328);
static_assert(offsetof(mrec_begun_t, wall_ns) == 8);
static_assert(offsetof(mrec_begun_t, monotonic_ns) == 16);
static_assert(offsetof(mrec_begun_t, case_code) == 24);
static_assert(offsetof(mrec_begun_t, driver) == 28);
static_assert(offsetof(mrec_begun_t, length) == 32);
static_assert(offsetof(mrec_begun_t, shape) == 36);
static_assert(offsetof(mrec_begun_t, flags) == 40);
static_assert(offsetof(mrec_begun_t, request_size) == 44);
static_assert(offsetof(mrec_begun_t, request) == 48);

static_assert(sizeof(mrec_header_t) == 10600);
static_assert(offsetof(mrec_header_t, version) == 8);
static_assert(offsetof(mrec_header_t, header_size) == 12);
static_assert(offsetof(mrec_header_t, ring_size) == 16);
static_assert(offsetof(mrec_header_t, tail) == 24);
static_assert(offsetof(mrec_header_t, head) == 32);
static_assert(offsetof(mrec_header_t, missed) == 40);
static_assert(offsetof(mrec_header_t, wall_ns) == 48);
static_assert(offsetof(mrec_header_t, monotonic_ns) == 56);
static_assert(offsetof(mrec_header_t, pid) == 64);
static_assert(offsetof(mrec_header_t, parent_pid) == 68);
static_assert(offsetof(mrec_header_t, word_size) == 72);
static_assert(offsetof(mrec_header_t, reserved) == 76);
static_assert(offsetof(mrec_header_t, boot_id) == 80);
static_assert(offsetof(mrec_header_t, program) == 120);
static_assert(offsetof(mrec_header_t, begun) == 272);
#endif

#endif
