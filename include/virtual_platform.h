/**
 * @file
 * Controls of the virtual platform.
 *
 * The virtual platform provides the six functions that the library requires of a switch (service
 * transport, card configuration, register map) on any Linux machine. Its driver service stores the
 * values that are written. These controls simulate what a real switch does on its own: cards,
 * failures, traffic.
 *
 *     vp_fail_next_call(ETIMEDOUT);
 *     syserr_t err = lib_mrv_asic_read(...);   // 0x82230000 | ETIMEDOUT
 *
 * The virtual switch has modules 0 to 3, each with ASIC 0, 32 host ports (type HIF) and 8 network
 * ports (type NIF). It is empty at the start. A process finds its switch in this order: the socket
 * of a morvaned that the environment variable MORVANE_SWITCH names ("none": a private switch); the
 * default socket of morvaned ($XDG_RUNTIME_DIR/morvaned.sock, for root /run/morvaned.sock), if a
 * service of the same user or root listens there; a private switch of the process, for one thread
 * at a time. ::vp_connect selects another. To a switch of morvaned go service calls, card
 * configuration and controls. The register map always stays in the process.
 *
 * A refused call returns -1 with one of these in errno, and changes nothing. If one entry of a
 * transaction is refused, none of them is applied.
 *
 * | errno    | What is refused                                                                |
 * |----------|--------------------------------------------------------------------------------|
 * | EFAULT   | a null record; an address without a register, also within a block access       |
 * | ENODEV   | a driver identifier other than 236                                             |
 * | ENOSYS   | a case code that the service does not know                                     |
 * | EMSGSIZE | a length that does not match the record, or is too short for its words         |
 * | EINVAL   | a request type of another case, a number of entries outside 0 to 512, an SP    |
 * |          | timer above 65535                                                              |
 * | ENXIO    | a module, ASIC or port that the switch does not have                           |
 *
 * A command address is valid only in a write of the complete register, in a request or in a
 * transaction entry. Each table register has a separate address range for all its entries. A block
 * access that goes past the range reaches an address without a register.
 *
 * With a switch of morvaned, a call or a control can also fail with these:
 *
 * | errno           | Cause                                                                   |
 * |-----------------|-------------------------------------------------------------------------|
 * | ENOENT,         | no service appeared within MORVANE_SWITCH_WAIT milliseconds (default    |
 * | ECONNREFUSED    | 2000); similarly any other errno of connect()                           |
 * | EACCES          | the service rejects this user; or this process rejects the service,     |
 * |                 | which runs as neither root, nor this user, nor MORVANE_SWITCH_USER      |
 * | EAGAIN          | the limit of clients is reached, or its queue stays full for            |
 * |                 | MORVANE_SWITCH_WAIT milliseconds                                        |
 * | ECONNRESET      | the service ended during the call; the outcome is unknown               |
 * | ETIMEDOUT       | no answer within MORVANE_SWITCH_TIMEOUT milliseconds (default: no       |
 * |                 | limit); the outcome is unknown                                          |
 * | EMSGSIZE        | the record is longer than the service accepts; it was not sent          |
 * | ENOBUFS         | a record of more than 64 KiB, while the buffers for such are full       |
 * | ENOMEM          | the service has no memory for the call                                  |
 * | EPERM           | a control of the switch; the user is neither root nor the service's     |
 * | EPROTO,         | the service is not a morvaned, or has another version; an answer has    |
 * | EPROTONOSUPPORT | impossible values, or more bytes than it should                         |
 * | EINVAL          | a variable is not a number of milliseconds, a user or an address        |
 *
 * No request is sent twice. After a failure, the next call reconnects.
 */
#ifndef VIRTUAL_PLATFORM_H
#define VIRTUAL_PLATFORM_H

#include <stdint.h>

#include "platform/card_config.h"
#include "platform/fixed_enum.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Connects to a morvaned. From now on, service calls, card configuration and controls go to its
 * switch.
 *
 * @param address path of its socket, or `@name` for an abstract address; null for the private
 *                switch of this process
 * @retval 0            connected
 * @retval EINVAL       the address is empty
 * @retval ENAMETOOLONG the address is too long for a socket
 * @return or another errno of the table above; a failure changes nothing
 */
int vp_connect(const char *address);

/** A snapshot of a client of morvaned. 64 bytes. */
typedef struct vp_client {
  int32_t process;      /**< 0: its process; 0 if it is in another process namespace */
  uint32_t user;        /**< 4: its user */
  uint64_t calls;       /**< 8: its service calls */
  uint64_t failures;    /**< 16: refused calls among them */
  uint32_t last_case;   /**< 24: case code of the last call; 0 if it has made none */
  int32_t last_error;   /**< 28: errno of the last call, or 0 */
  uint64_t last_age_ms; /**< 32: milliseconds since the last call, or since it connected */
  uint64_t age_ms;      /**< 40: milliseconds since it connected */
  char program[16];     /**< 48: name of its program, NUL-padded; byte 15 is NUL */
} vp_client;

/**
 * Lists the clients of morvaned, including this process, in the order of their connection.
 *
 * @param clients receives the list; valid until the next call or control
 * @param count   receives the number of clients in it
 * @retval 0        listed
 * @retval EFAULT   clients or count is null
 * @retval ENOTCONN this process uses its private switch
 * @return or an errno of the table above
 */
int vp_clients(const vp_client **clients, uint32_t *count);

/** The switch that a process uses. 64 bytes. */
typedef struct vp_switch {
  uint64_t generation; /**< 0: another number after each start, reset and restore of the switch */
  uint64_t age_ms;     /**< 8: milliseconds since then */
  uint64_t time_ms;  /**< 16: its time, which ::vp_set_time can stop; equal to the age otherwise */
  uint32_t stopped;  /**< 24: 1 if its time is stopped, else 0 */
  int32_t process;   /**< 28: the process that has the switch; 0 if it is not visible here */
  uint32_t shared;   /**< 32: 1 if it is the switch of a morvaned, 0 if it is private */
  uint32_t modules;  /**< 36: number of its modules */
  uint32_t card;     /**< 40: software identifier of its card */
  uint32_t faults;   /**< 44: number of its faults, see ::vp_add_fault */
  uint32_t flows;    /**< 48: number of its steady flows, see ::vp_add_flow */
  uint32_t clients;  /**< 52: number of its clients; 1 if it is private */
  uint64_t reserved; /**< 56: 0 */
} vp_switch;

/**
 * Shows the switch that this process uses. A client that keeps the generation notices that the
 * switch was restarted, and is empty.
 *
 * @param shown receives it
 * @retval 0      shown
 * @retval EFAULT shown is null
 * @return with a switch of morvaned, also an errno of the table above
 */
int vp_switch_info(vp_switch *shown);

/**
 * @return the address of the switch, as ::vp_connect takes it; null if the switch is private. Valid
 * until the next ::vp_connect
 */
const char *vp_switch_address(void);

/**
 * Restores the initial state: the default card, an empty switch without faults and flows whose time
 * runs, and in this process no watcher.
 *
 * @return 0; with a switch of morvaned, also an errno of the table above
 */
int vp_reset(void);

/**
 * Replaces the card.
 *
 * @param device_type the answer of cardcfg_get_real_asic_type; initially 7, a Morvane
 * @param sw_card_id  the answer of cardcfg_card_get_sw_card_id; initially 1
 * @return 0; with a switch of morvaned, also an errno of the table above
 */
int vp_set_card(uint32_t device_type, uint16_t sw_card_id);

/**
 * @return the software identifier of the card; 0, with an errno of the table above, if morvaned
 * does not answer
 */
uint16_t vp_sw_card_id(void);

/**
 * Saves the state of the switch: what it would not have after a reset, except faults and steady
 * traffic. Equal states give equal texts.
 *
 * @param text   receives the state as lines of mrvctl, without a NUL; valid until the next call or
 *               control
 * @param length receives the number of its bytes
 * @retval 0      saved
 * @retval EFAULT text or length is null
 * @return with a switch of morvaned, also an errno of the table above
 */
int vp_save(const char **text, uint32_t *length);

/**
 * Replaces the state of the switch by a saved one. Faults and steady traffic end, as with
 * ::vp_reset.
 *
 * @param text   the state, as ::vp_save gives it; comments and empty lines are skipped
 * @param length number of its bytes; with a switch of morvaned at most what it accepts as a record
 * @param line   receives 0, or the number of the first line that is not one of a saved state
 * @retval 0      restored
 * @retval EINVAL a line is wrong; nothing changes
 * @retval EFAULT text or line is null
 * @return with a switch of morvaned, also an errno of the table above
 */
int vp_restore(const char *text, uint32_t length, uint32_t *line);

/**
 * Sets a field of the statistics of a port, or of the settings of an ASIC.
 *
 * @param module    module number, 0 to 3
 * @param asic      ASIC number, 0
 * @param port_type the port type; CARDCFG_PORT_TYPE_MAX for a field of ::vp_asic_state
 * @param port      port number within its type
 * @param name      name of the field in kel_asic_qos_stats_t or vp_asic_state, with its indices:
 *                  `flow_ctrl`, `wr_rcvd_cnt[1]`, `n2h_drops[0][3]`
 * @param value     its value
 * @retval 0      set
 * @retval ENXIO  there is no such port
 * @retval EINVAL there is no such field
 * @retval ERANGE the field has no room for the value
 * @retval EFAULT name is null
 * @return with a switch of morvaned, also an errno of the table above
 */
int vp_set_field(uint32_t module, uint32_t asic, cardcfg_port_type_t port_type, uint32_t port,
                 const char *name, uint64_t value);

/** What a fault does to a call that it hits. */
typedef enum vp_fault_action KEL_ENUM32 {
  VP_FAULT_NONE = 0,   /**< nothing except the delay */
  VP_FAULT_ERRNO = 1,  /**< the call fails with the errno `value` and reaches no ASIC */
  VP_FAULT_ANSWER = 2, /**< the call returns `value` and reaches no ASIC; below 0 with errno EIO */
  VP_FAULT_NUM = 3     /**< the answer to a read of several words reports `value` words */
} vp_fault_action;

/** Bits of vp_fault::conditions. A call matches if it meets all conditions that are set. */
enum {
  VP_IF_REGISTER = 1,  /**< it reads or writes one of the addresses, also in a transaction entry */
  VP_IF_PORT = 2,      /**< it is a command or a QoS request for the port */
  VP_IF_OPERATION = 4, /**< its operation has this name */
  VP_IF_WRITE = 8,     /**< it changes something */
  VP_IF_CALLER = 16,   /**< its caller's file or function contains the text */
  VP_IF_PROCESS = 32,  /**< the process makes it */
  VP_IF_PROGRAM = 64,  /**< a process of the program makes it */
  VP_IF_SELF = 128     /**< the client that added the fault makes it */
};

/** Maximum number of faults. */
#define VP_FAULTS_MAX 64

/**
 * A fault: a rule of the switch that makes service calls fail, wait, or answer wrongly. The first
 * fault that matches a call and is not used up hits it; later ones do not see the call. 160 bytes.
 *
 * Of the calls that match, the first `skip` are not hit, then every `every`th, until the fault has
 * hit `times` calls.
 */
typedef struct vp_fault {
  uint32_t number;        /**< 0: its number, from 1; set by the switch */
  vp_fault_action action; /**< 4: what it does */
  int32_t value;          /**< 8: the errno (1 to 4095), result or number of words */
  uint32_t min_delay_us;  /**< 12: shortest delay in microseconds; other clients do not wait */
  uint32_t max_delay_us;  /**< 16: longest delay, at most an hour */
  uint32_t seed;          /**< 20: of the delays between the two; equal seeds, equal delays */
  uint32_t conditions;    /**< 24: which calls match; 0: all */
  int32_t module;         /**< 28: module of the addresses or port */
  uint32_t asic;          /**< 32: ASIC of the addresses or port */
  uint32_t address;       /**< 36: first address */
  uint32_t size;          /**< 40: bytes from there, a multiple of 4 */
  uint32_t stride;        /**< 44: distance to the same addresses of the next instance */
  uint32_t instances;     /**< 48: number of instances, 1 to 64 */
  uint32_t port_type;     /**< 52: port type (::cardcfg_port_type_t) */
  uint32_t port;          /**< 56: port number */
  int32_t process;        /**< 60: the process */
  uint32_t skip;          /**< 64: matching calls that are not hit at first */
  uint32_t every;         /**< 68: then every second, third ... matching call is hit; 1: each */
  uint32_t times;         /**< 72: calls to hit; 0: no limit */
  uint32_t reserved;      /**< 76: 0 */
  uint64_t matches;       /**< 80: calls that matched so far; set by the switch */
  uint64_t hits;          /**< 88: calls that were hit so far; set by the switch */
  char operation[16];     /**< 96: the operation, as kel_asic_operation() names it */
  char program[16];       /**< 112: the program, NUL-padded */
  char caller[32];        /**< 128: text of the caller, NUL-padded */
} vp_fault;

/**
 * Adds a fault after those that exist. If there are ::VP_FAULTS_MAX already, it replaces the
 * oldest one that is used up.
 *
 * @param fault the fault; `number`, `matches` and `hits` are ignored
 * @retval 0      added
 * @retval EFAULT fault is null
 * @retval EINVAL a value is out of range, or a text does not end
 * @retval ENOSPC there are ::VP_FAULTS_MAX faults, none of them used up
 * @return with a switch of morvaned, also an errno of the table above
 */
int vp_add_fault(const vp_fault *fault);

/**
 * Lists the faults in their order, those that are used up included.
 *
 * @param faults receives the list; valid until the next call or control
 * @param count  receives the number of faults in it
 * @retval 0      listed
 * @retval EFAULT faults or count is null
 * @return with a switch of morvaned, also an errno of the table above
 */
int vp_faults(const vp_fault **faults, uint32_t *count);

/**
 * Removes a fault.
 *
 * @param number its number; 0 for all faults
 * @retval 0      removed
 * @retval ENOENT there is no such fault
 * @return with a switch of morvaned, also an errno of the table above
 */
int vp_remove_fault(uint32_t number);

/**
 * Adds a fault that makes the next service call of this process fail. Several of these form a
 * queue.
 *
 * @param error_number the errno of that call, 1 to 4095
 * @return as ::vp_add_fault
 */
int vp_fail_next_call(int error_number);

/**
 * Adds a fault that makes the next service call of this process return this result, without
 * reaching an ASIC.
 *
 * @param result the result; 0 reports a success that did not happen, below 0 comes with errno EIO
 * @return as ::vp_add_fault
 */
int vp_answer_next_call(int result);

/**
 * Adds a fault that makes the answer to the next block read of this process report another number
 * of words. The words themselves do not change.
 *
 * @param num the number in the answer
 * @return as ::vp_add_fault
 */
int vp_answer_next_num(uint32_t num);

/**
 * Adds a fault that delays the next calls of this process.
 *
 * @param milliseconds the delay of each call, at most 3,600,000 (an hour)
 * @param calls        number of calls, 1 or more
 * @return as ::vp_add_fault
 */
int vp_delay_calls(uint32_t milliseconds, uint32_t calls);

/** A service call as a watcher sees it. */
typedef struct vp_call {
  uint32_t case_code; /**< the case code */
  uint32_t driver_id; /**< the driver identifier of the case record; 0 if that is null */
  const void *record; /**< the record, length bytes; before the call the request, after it the
                         answer; null if the caller passed none */
  uint32_t length;    /**< length of the record in bytes */
  int result;         /**< after the call: its result */
  int error_number;   /**< after the call: errno if the result is negative, else 0 */
} vp_call;

/** When a watcher is called. */
typedef enum vp_phase KEL_ENUM32 { VP_CALL_SENT, VP_CALL_ANSWERED } vp_phase;

/**
 * Called before and after each service call, including calls that the controls let fail or answer.
 */
typedef void (*vp_watcher)(vp_phase phase, const vp_call *call, void *user);

/**
 * Sets or removes the watcher of service calls.
 *
 * @param watcher the function to call; null for none
 * @param user    passed to it each time
 */
void vp_watch(vp_watcher watcher, void *user);

/** A note about a service call of any client of morvaned. 48 bytes, before the call itself. */
typedef struct vp_note {
  uint64_t lost;     /**< 0: calls that are omitted here; if not 0, no call follows */
  uint64_t client;   /**< 8: number of the client, from 1; each connection has another */
  int32_t process;   /**< 16: its process; 0 if it is in another process namespace */
  uint32_t user;     /**< 20: its user */
  uint32_t size;     /**< 24: bytes of the call, which follow the note */
  uint32_t reserved; /**< 28: 0 */
  char program[16];  /**< 32: name of its program, NUL-padded; byte 15 is NUL */
} vp_note;

/** A connection on which morvaned reports the calls of all its clients. */
typedef struct vp_monitor vp_monitor;

/**
 * Monitors the switch: from now on the service sends a note about each call, on a connection that
 * no call or control uses. It never waits for a monitor. If more than 1 MiB of notes waits, it
 * omits calls until half of them are received, and reports their number in a note.
 *
 * @param monitor receives the monitor, which ::vp_monitor_close closes
 * @retval 0        opened
 * @retval EFAULT   monitor is null
 * @retval ENOTCONN this process uses its private switch, whose calls ::vp_watch shows
 * @retval EPERM    the user is neither root nor the service's
 * @return or an errno of the table above
 */
int vp_monitor_open(vp_monitor **monitor);

/**
 * Returns the next note. After it come `size` bytes: the call as a recording has it, an
 * `mrec_call_t` of docs/recording.md at position 0. Its number counts the calls of the client, and
 * its times are the service's. Check it like a recording; the note itself is checked.
 *
 * @param monitor    the monitor
 * @param timeout_ms milliseconds to wait; below 0 without a limit
 * @param note       receives the note; valid until the next call with this monitor
 * @retval 0          returned
 * @retval ETIMEDOUT  there is no note yet
 * @retval ECONNRESET the service has ended
 * @retval EPROTO     the service sent an impossible note
 * @retval EFAULT     monitor or note is null
 */
int vp_monitor_next(vp_monitor *monitor, int timeout_ms, const vp_note **note);

/**
 * Closes a monitor.
 *
 * @param monitor the monitor, or null
 */
void vp_monitor_close(vp_monitor *monitor);

/** Direction of traffic through a port. */
typedef enum vp_direction KEL_ENUM32 { VP_N2H, VP_H2N } vp_direction;

/** Traffic of one class in one direction. */
typedef struct vp_traffic {
  vp_direction direction; /**< its direction */
  uint32_t traffic_class; /**< its class, 0 to 7 */
  uint64_t frames;        /**< frames that arrive */
  uint64_t excess;        /**< frames among them that meet a full queue, at most frames */
} vp_traffic;

/**
 * Simulates traffic on a port.
 *
 * Every frame counts as a write received, every frame that leaves as a read sent. Priority flow
 * control holds excess frames back if their class is in the no-drop map; else pause frames do, if
 * link pause is enabled on the port. Other excess frames are dropped, and the drop counter of their
 * direction and class counts them (in row 0, for full queues).
 *
 * Frames that are held back leave before the call returns, so no XOFF state remains:
 *
 * | Excess frames     | Counters of the port, with class c                                    |
 * |-------------------|-----------------------------------------------------------------------|
 * | any, or none      | wr_rcvd_cnt[c] and rd_sent_cnt[c] rise by the frames                  |
 * | held back by PFC  | tx_pfc_xoff_cnt[c] rises by 1, tx_pfc_cnt by 2 (an XOFF and an XON)   |
 * | held back by pause| tx_xoff_cnt and tx_xon_cnt rise by 1                                  |
 * | dropped           | rd_sent_cnt[c] rises by that many fewer; wr_discard_cnt and           |
 * |                   | n2h_drops[0][c] or h2n_drops[0][c] rise by that many                  |
 *
 * A clear of the statistics zeroes all of them except flow_ctrl, which is the port's link pause
 * (1 enabled, 0 disabled). A clear of the drop counters zeroes only n2h_drops and h2n_drops, on
 * every port of its ASIC.
 *
 * @param module    module number, 0 to 3
 * @param asic      ASIC number, 0
 * @param port_type ::CARDCFG_PORT_TYPE_NIF or ::CARDCFG_PORT_TYPE_HIF
 * @param port      port number within its type
 * @param traffic   the traffic
 * @retval 0      counted
 * @retval ENXIO  the ASIC has no such port
 * @retval EINVAL the traffic has no such class or direction, or more excess than frames
 * @retval EFAULT traffic is null
 * @return with a switch of morvaned, also an errno of the table above
 */
int vp_add_traffic(uint32_t module, uint32_t asic, cardcfg_port_type_t port_type, uint32_t port,
                   const vp_traffic *traffic);

/** Maximum number of steady flows. */
#define VP_FLOWS_MAX 256

/**
 * Starts steady traffic on a port: the frames arrive in each second of the switch's time, until
 * ::vp_stop_flows or a reset. It counts as ::vp_add_traffic does, with one XOFF and one XON in each
 * second that has frames in excess. It replaces the flow of the same port, direction and class.
 *
 * @param module    module number, 0 to 3
 * @param asic      ASIC number, 0
 * @param port_type ::CARDCFG_PORT_TYPE_NIF or ::CARDCFG_PORT_TYPE_HIF
 * @param port      port number within its type
 * @param rate      the frames per second, at most 1,000,000,000
 * @retval 0      started
 * @retval ENXIO  the ASIC has no such port
 * @retval EINVAL there is no such class or direction, more excess than frames, or too many frames
 * @retval ENOSPC there are ::VP_FLOWS_MAX flows
 * @retval EFAULT rate is null
 * @return with a switch of morvaned, also an errno of the table above
 */
int vp_add_flow(uint32_t module, uint32_t asic, cardcfg_port_type_t port_type, uint32_t port,
                const vp_traffic *rate);

/**
 * Stops the steady traffic of a port, or of all ports of an ASIC.
 *
 * @param module    module number, 0 to 3
 * @param asic      ASIC number, 0
 * @param port_type port type; CARDCFG_PORT_TYPE_MAX for all ports
 * @param port      port number within its type
 * @retval 0     stopped
 * @retval ENXIO the ASIC has no such port
 * @return with a switch of morvaned, also an errno of the table above
 */
int vp_stop_flows(uint32_t module, uint32_t asic, cardcfg_port_type_t port_type, uint32_t port);

/**
 * Stops the time of the switch and moves it on, or lets it run again. Steady traffic follows it;
 * delays do not.
 *
 * @param run        0 to stop the time, 1 to let it run
 * @param advance_ms milliseconds to move it on, at most 366 days, and not beyond 292 years
 * @retval 0      done
 * @retval EINVAL a value is out of range
 * @return with a switch of morvaned, also an errno of the table above
 */
int vp_set_time(uint32_t run, uint64_t advance_ms);

/** The settings that commands made on an ASIC. */
typedef struct vp_asic_state {
  uint8_t nodrop_class_map;    /**< the no-drop class map, one bit per class */
  uint16_t sp_timer;           /**< the SP timer, as last programmed */
  uint32_t drop_clears;        /**< clears of all drop counters */
  uint32_t sfp_failures;       /**< reports of failed SFP validations */
  uint32_t last_sfp_port_type; /**< port type of the last of them */
  uint32_t last_sfp_port;      /**< port number of the last of them */
} vp_asic_state;

/**
 * Returns the settings that commands made on an ASIC.
 *
 * @param module module number, 0 to 3
 * @param asic   ASIC number, 0
 * @param state  receives the settings
 * @retval 0      returned
 * @retval ENXIO  there is no such ASIC
 * @retval EFAULT state is null
 * @return with a switch of morvaned, also an errno of the table above
 */
int vp_asic_show(uint32_t module, uint32_t asic, vp_asic_state *state);

/**
 * Returns the number of ports of a type.
 *
 * @param port_type the type
 * @return 32 host ports, 8 network ports, none of any other type
 */
uint32_t vp_port_count(cardcfg_port_type_t port_type);

#ifdef __cplusplus
}
#endif

#endif
