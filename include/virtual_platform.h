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
 * ports (type NIF). It is empty at the start. By default each process has a private switch, for one
 * thread at a time. If the environment variable MORVANE_SWITCH or ::vp_connect names the socket of
 * morvaned, service calls and card configuration go to its switch, which several processes share.
 * The register map always stays in the process.
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

/**
 * Restores the initial state: the default card, an empty switch, and in this process no pending
 * fault and no watcher.
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
 * Makes the next service call of this process fail: it returns -1 and reaches no driver. Several
 * failures and answers form a queue; each of them takes one call.
 *
 * @param error_number the errno of that call
 */
void vp_fail_next_call(int error_number);

/**
 * Makes the next service call of this process return this result, without reaching a driver. It
 * joins the queue of ::vp_fail_next_call.
 *
 * @param result the result; 0 reports a success that did not happen, below 0 comes with errno EIO
 */
void vp_answer_next_call(int result);

/**
 * Makes the next successful answer to a block read of this process report another number of words.
 * The words themselves do not change.
 *
 * @param num the number in the answer
 */
void vp_answer_next_num(uint32_t num);

/**
 * Delays the next calls. This replaces an earlier delay.
 *
 * @param milliseconds the delay of each call; 0 for none
 * @param calls        number of calls
 */
void vp_delay_calls(uint32_t milliseconds, uint32_t calls);

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
