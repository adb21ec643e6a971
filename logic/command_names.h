// The characters that name the commands in g_nLastCommand. The "e" family goes by its digit; both ways to
// regret everything go by the letter of a pay-out.
#pragma once

constexpr char COMMAND_LOGIN = 'A';
constexpr char COMMAND_LOGOUT = 'B';
constexpr char COMMAND_DISPENSE = 'C';
constexpr char COMMAND_ASK_PAYOUT = 'D';
constexpr char COMMAND_CHANGE = '1';
constexpr char COMMAND_REGRET_LAST_NOTE = '2';
constexpr char COMMAND_RESET = '3';
constexpr char COMMAND_PAYOUT = 'F';
constexpr char COMMAND_DISABLE_PAYIN = 'G';
constexpr char COMMAND_ENABLE_PAYIN = 'H';
constexpr char COMMAND_COMPLETE_CASH_COUNT = 'I';
constexpr char COMMAND_CASH_COUNT = 'J';
constexpr char COMMAND_ADMIN_MODE = 'K';
constexpr char COMMAND_INFORM_TOTAL = 'L';
constexpr char COMMAND_DISPENSE_SPECIFIED = 'M';
constexpr char COMMAND_COLLECT = 'N';
constexpr char COMMAND_END_REPLENISH = 'P';
constexpr char COMMAND_PURGE = 'Q';
constexpr char COMMAND_UNLOCK = 'R';
constexpr char COMMAND_VERSION = 'V';
constexpr char COMMAND_QUERY = 'X';
