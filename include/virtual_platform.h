/**
 * @file
 * Controls of the virtual platform.
 *
 * The virtual platform provides the six functions that the library expects of a switch (service
 * transport, card configuration, register map) on any Linux machine. Its driver service keeps what
 * is written and answers with it; these controls are for what a real switch does by itself: which
 * card is plugged in, what fails, what traffic passes, and who watches.
 *
 *     vp_fail_next_call(ETIMEDOUT);
 *     syserr_t err = lib_mrv_asic_read(...);   // 0x82230000 | ETIMEDOUT
 *
 * The virtual switch has one module's worth of state for each module 0 to 3, one ASIC (number 0) on
 * each, 32 host ports (type HIF) and 8 network ports (type NIF). Its state starts empty. It is one
 * per process, and belongs to one thread at a time, unless the environment variable MORVANE_SWITCH
 * or ::vp_connect names the switch that morvaned serves: then service calls and the card are that
 * one's, which many processes share. The register map stays in the process either way.
 *
 * A call that the switch refuses returns -1 with one of these in errno, and changes nothing; a
 * transaction with one entry to refuse is not applied at all.
 *
 * | errno    | What is refused                                                                |
 * |----------|--------------------------------------------------------------------------------|
 * | EFAULT   | a null record; an address, be it one of a run, that no register has            |
 * | ENODEV   | a driver identifier other than 236                                             |
 * | ENOSYS   | a case code that the service does not know                                     |
 * | EMSGSIZE | a length that does not match the record, or has no room for its words          |
 * | EINVAL   | a request type of another case, a number of entries outside 0 to 512, an SP    |
 * |          | timer above 65535                                                              |
 * | ENXIO    | a module, ASIC or port that the switch lacks                                   |
 *
 * A command address is a command in a write of the whole register, in a request or in a transaction
 * entry; anything else at such an address is refused. Each table register has an address range of
 * its own with room for all its entries, and a run that leaves it meets an address without a
 * register.
 *
 * Of a switch that morvaned serves, a call or a control can also fail with these:
 *
 * | errno        | What has happened                                                          |
 * |--------------|----------------------------------------------------------------------------|
 * | ENOENT,      | no service has come up within MORVANE_SWITCH_WAIT milliseconds (2000);     |
 * | ECONNREFUSED | any other errno of connect() likewise                                      |
 * | EACCES       | the service rejects this user, or this process rejects the service: its    |
 * |              | user is not root, the own user or the user that MORVANE_SWITCH_USER names  |
 * | EAGAIN       | it has as many clients as it takes, or for MORVANE_SWITCH_WAIT             |
 * |              | milliseconds as many more that wait                                        |
 * | ECONNRESET   | it went away during the call, whose outcome is unknown                     |
 * | ETIMEDOUT    | no answer came within MORVANE_SWITCH_TIMEOUT milliseconds (no limit); the  |
 * |              | outcome is unknown                                                         |
 * | EMSGSIZE     | the record is longer than the service takes; it was not sent               |
 * | ENOBUFS      | a record beyond 64 KiB, while others' take up the room that the service has|
 * | EPERM        | a control of the switch, for whoever is neither root nor the service's user|
 * | EPROTO,      | the service is not a morvaned, or has another version; an answer has       |
 * | EPROTONOSUPPORT | impossible values, or more bytes than it should                         |
 * | EINVAL       | a variable is not a number of milliseconds, not a user or not an address   |
 *
 * Nothing is sent twice. The call after a failed one connects again.
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
 * Connects to the switch that morvaned serves at an address, and sends service calls, card
 * configuration and controls there from now on.
 *
 * @param address path of its socket, or `@name` for an abstract one; null for the switch in this
 *                process
 * @retval 0            connected
 * @retval EINVAL       the address is empty
 * @retval ENAMETOOLONG it has no room in a socket's address
 * @return or another errno of the table above; a failure leaves all as it was
 */
int vp_connect(const char *address);

/** A client of morvaned, at one moment. 64 bytes. */
typedef struct vp_client {
  int32_t process;      /**< 0: its process; 0 where that is in a process namespace of its own */
  uint32_t user;        /**< 4: its user */
  uint64_t calls;       /**< 8: service calls that it has made */
  uint64_t failures;    /**< 16: how many of them were refused */
  uint32_t last_case;   /**< 24: case code of the last call; 0 where it has made none */
  int32_t last_error;   /**< 28: errno of the last call, or 0 */
  uint64_t last_age_ms; /**< 32: milliseconds since the last call, or since it came */
  uint64_t age_ms;      /**< 40: milliseconds since it came */
  char program[16];     /**< 48: name of its program, NUL-padded; byte 15 is NUL */
} vp_client;

/**
 * Lists who is connected to morvaned, this process included, in the order of their coming.
 *
 * @param clients receives the list; valid until the next call or control
 * @param count   receives the number of clients in it
 * @retval 0        listed
 * @retval EFAULT   clients or count is null
 * @retval ENOTCONN the switch is in this process
 * @return or an errno of the table above
 */
int vp_clients(const vp_client **clients, uint32_t *count);

/**
 * Puts everything back: the plain card, an empty ASIC, and in this process no fault pending and
 * nobody watching.
 *
 * @return 0; of a switch that morvaned serves, also an errno of the table above
 */
int vp_reset(void);

/**
 * Plugs in another card.
 *
 * @param device_type what cardcfg_get_real_asic_type answers; at the start 7, a Morvane
 * @param sw_card_id  what cardcfg_card_get_sw_card_id answers; at the start 1
 * @return 0; of a switch that morvaned serves, also an errno of the table above
 */
int vp_set_card(uint32_t device_type, uint16_t sw_card_id);

/**
 * @return the software identifier of the card that is plugged in; 0, and an errno of the table
 * above, where a switch that morvaned serves cannot be asked
 */
uint16_t vp_sw_card_id(void);

/**
 * Makes the next service call of this process fail: it returns -1 and reaches no driver. Where
 * failures and answers wait already, it is the first call behind those, each of which takes one
 * call.
 *
 * @param error_number what errno is then
 */
void vp_fail_next_call(int error_number);

/**
 * Makes the next service call of this process return a result of its own, and reach no driver. It
 * waits its turn like ::vp_fail_next_call.
 *
 * @param result the result; 0 claims a success that did not happen, below 0 comes with errno EIO
 */
void vp_answer_next_call(int result);

/**
 * Makes this process's next successful answer to a read of a run of words carry another number of
 * words than it has. The words themselves stay as they are.
 *
 * @param num the number in the answer
 */
void vp_answer_next_num(uint32_t num);

/**
 * Makes the service slow: each of the next calls takes so much longer. What was asked for before is
 * forgotten.
 *
 * @param milliseconds how much longer; 0 for as quick as ever
 * @param calls        how many calls
 */
void vp_delay_calls(uint32_t milliseconds, uint32_t calls);

/** A service call as a watcher sees it. */
typedef struct vp_call {
  uint32_t case_code; /**< the case code */
  uint32_t driver_id; /**< the driver identifier of the case record; 0 where that is null */
  const void *record; /**< the record, length bytes; before the call the request, after it the
                         answer; null where the caller gave none */
  uint32_t length;    /**< length of the record in bytes */
  int result;         /**< after the call: its result */
  int error_number;   /**< after the call: errno where the result is negative, else 0 */
} vp_call;

/** When a watcher is told of a call. */
typedef enum vp_phase KEL_ENUM32 { VP_CALL_SENT, VP_CALL_ANSWERED } vp_phase;

/**
 * Told of each service call, before and after, also of those that fail or are answered by order of
 * the controls.
 */
typedef void (*vp_watcher)(vp_phase phase, const vp_call *call, void *user);

/**
 * Sets the one watcher of service calls, or none.
 *
 * @param watcher the function to tell; null for none
 * @param user    handed to it each time
 */
void vp_watch(vp_watcher watcher, void *user);

/** Which way traffic flows through the port. */
typedef enum vp_direction KEL_ENUM32 { VP_N2H, VP_H2N } vp_direction;

/** Traffic of one class in one direction. */
typedef struct vp_traffic {
  vp_direction direction; /**< which way it flows */
  uint32_t traffic_class; /**< its class, 0 to 7 */
  uint64_t frames;        /**< frames that arrive */
  uint64_t excess;        /**< how many of them find the queue full, at most frames */
} vp_traffic;

/**
 * Lets traffic pass through a port.
 *
 * Every frame counts as a write received, every frame that leaves as a read sent. Excess frames are
 * held back by priority flow control where their class is in the no-drop map, else by pause frames
 * where link pause is enabled on the port; otherwise they are dropped, and the drop counter of
 * their direction and class says so (in the row of full queues, row 0).
 *
 * What is held back leaves all the same before the call returns, so that no XOFF state remains:
 *
 * | Excess frames     | Counters of the port, with class c                                    |
 * |-------------------|-----------------------------------------------------------------------|
 * | any, or none      | wr_rcvd_cnt[c] and rd_sent_cnt[c] rise by the frames                  |
 * | held back by PFC  | tx_pfc_xoff_cnt[c] rises by 1, tx_pfc_cnt by 2 (an XOFF and an XON)   |
 * | held back by pause| tx_xoff_cnt and tx_xon_cnt rise by 1                                  |
 * | dropped           | rd_sent_cnt[c] rises by that many fewer; wr_discard_cnt and           |
 * |                   | n2h_drops[0][c] or h2n_drops[0][c] rise by that many                  |
 *
 * A clear of the statistics zeroes all of them and leaves flow_ctrl, which is the port's link pause
 * (1 enabled, 0 disabled). A clear of the drop counters zeroes n2h_drops and h2n_drops alone, on
 * every port of its ASIC.
 *
 * @param module    module number, 0 to 3
 * @param asic      ASIC number, 0
 * @param port_type ::CARDCFG_PORT_TYPE_NIF or ::CARDCFG_PORT_TYPE_HIF
 * @param port      port number within its type
 * @param traffic   the traffic
 * @retval 0      counted
 * @retval ENXIO  the ASIC lacks the port
 * @retval EINVAL the traffic has no such class or direction, or more excess than frames
 * @retval EFAULT traffic is null
 * @return of a switch that morvaned serves, also an errno of the table above
 */
int vp_add_traffic(uint32_t module, uint32_t asic, cardcfg_port_type_t port_type, uint32_t port,
                   const vp_traffic *traffic);

/** What commands have left on an ASIC. */
typedef struct vp_asic_state {
  uint8_t nodrop_class_map;    /**< the no-drop class map, a bit a class */
  uint16_t sp_timer;           /**< the SP timer, as last programmed */
  uint32_t drop_clears;        /**< how often all drop counters were cleared */
  uint32_t sfp_failures;       /**< how many failed SFP validations were reported */
  uint32_t last_sfp_port_type; /**< port type of the last of them */
  uint32_t last_sfp_port;      /**< port number of the last of them */
} vp_asic_state;

/**
 * Shows what commands have left on an ASIC.
 *
 * @param module module number, 0 to 3
 * @param asic   ASIC number, 0
 * @param state  receives it
 * @retval 0      shown
 * @retval ENXIO  there is no such ASIC
 * @retval EFAULT state is null
 * @return of a switch that morvaned serves, also an errno of the table above
 */
int vp_asic_show(uint32_t module, uint32_t asic, vp_asic_state *state);

/**
 * Counts the ports of a type.
 *
 * @param port_type the type
 * @return 32 host ports, 8 network ports, none of any other type
 */
uint32_t vp_port_count(cardcfg_port_type_t port_type);

#ifdef __cplusplus
}
#endif

#endif
