using System;
using System.Runtime.CompilerServices;
using System.Threading;
using System.Threading.Tasks;

namespace Tllogics
{
    // The calls that wait for the device, one after the other on a thread of their own. "cancellation" takes back
    // what has not begun; what has begun runs to its end, since money may move.
    public sealed partial class Session
    {
        /// <summary><see cref="initTL"/>, queued.</summary>
        public Task<Result> initTLAsync(string portSettings, string initSettings,
                                        CancellationToken cancellation = default(CancellationToken))
        {
            return Queued(() => initTL(portSettings, initSettings), cancellation);
        }

        /// <summary><see cref="exitTL"/>, queued.</summary>
        public Task<Result> exitTLAsync(CancellationToken cancellation = default(CancellationToken))
        {
            return Queued(() => exitTL(), cancellation);
        }

        /// <summary><see cref="loginTL"/>, queued.</summary>
        public Task<Result> loginTLAsync(short loginNumber, short loginDigits,
                                         CancellationToken cancellation = default(CancellationToken))
        {
            return Queued(() => loginTL(loginNumber, loginDigits), cancellation);
        }

        /// <summary><see cref="loginStrTL"/>, queued.</summary>
        public Task<Result> loginStrTLAsync(string loginNumberText, string loginText,
                                            CancellationToken cancellation = default(CancellationToken))
        {
            return Queued(() => loginStrTL(loginNumberText, loginText), cancellation);
        }

        /// <summary><see cref="logoutTL"/>, queued.</summary>
        public Task<Result> logoutTLAsync(CancellationToken cancellation = default(CancellationToken))
        {
            return Queued(() => logoutTL(), cancellation);
        }

        /// <summary><see cref="enablePayinTL"/>, queued.</summary>
        public Task<Result> enablePayinTLAsync(CancellationToken cancellation = default(CancellationToken))
        {
            return Queued(() => enablePayinTL(), cancellation);
        }

        /// <summary><see cref="disablePayinTL"/>, queued.</summary>
        public Task<Result> disablePayinTLAsync(CancellationToken cancellation = default(CancellationToken))
        {
            return Queued(() => disablePayinTL(), cancellation);
        }

        /// <summary><see cref="depositTL"/>, queued.</summary>
        public Task<Result> depositTLAsync(string transactionId,
                                           CancellationToken cancellation = default(CancellationToken))
        {
            return Queued(() => depositTL(transactionId), cancellation);
        }

        /// <summary><see cref="dispenseTL"/>, queued.</summary>
        public Task<RestResult> dispenseTLAsync(int amountDispense, string transactionId,
                                                CancellationToken cancellation = default(CancellationToken))
        {
            return Queued(() => dispenseTL(amountDispense, transactionId), cancellation);
        }

        /// <summary><see cref="askPayoutTL"/>, queued.</summary>
        public Task<Result> askPayoutTLAsync(int amount,
                                             CancellationToken cancellation = default(CancellationToken))
        {
            return Queued(() => askPayoutTL(amount), cancellation);
        }

        /// <summary><see cref="askPayout2TL"/>, queued.</summary>
        public Task<RestResult> askPayout2TLAsync(int amount,
                                                  CancellationToken cancellation = default(CancellationToken))
        {
            return Queued(() => askPayout2TL(amount), cancellation);
        }

        /// <summary><see cref="informTotalAmountTL"/>, queued.</summary>
        public Task<Result> informTotalAmountTLAsync(int amountTotal,
                                                     CancellationToken cancellation = default(CancellationToken))
        {
            return Queued(() => informTotalAmountTL(amountTotal), cancellation);
        }

        /// <summary><see cref="payoutTL"/>, queued.</summary>
        public Task<Result> payoutTLAsync(int amountDispense, int amountDeposit, string transactionId,
                                          CancellationToken cancellation = default(CancellationToken))
        {
            return Queued(() => payoutTL(amountDispense, amountDeposit, transactionId), cancellation);
        }

        /// <summary><see cref="payout2TL"/>, queued.</summary>
        public Task<RestResult> payout2TLAsync(int amountDispense, int amountDeposit, string transactionId,
                                               CancellationToken cancellation = default(CancellationToken))
        {
            return Queued(() => payout2TL(amountDispense, amountDeposit, transactionId), cancellation);
        }

        /// <summary><see cref="amountDueTL"/>, queued.</summary>
        public Task<RestResult> amountDueTLAsync(int amountDue, string transactionId,
                                                 CancellationToken cancellation = default(CancellationToken))
        {
            return Queued(() => amountDueTL(amountDue, transactionId), cancellation);
        }

        /// <summary><see cref="changeTL"/>, queued.</summary>
        public Task<Result> changeTLAsync(CancellationToken cancellation = default(CancellationToken))
        {
            return Queued(() => changeTL(), cancellation);
        }

        /// <summary><see cref="regretTL"/>, queued.</summary>
        public Task<Result> regretTLAsync(short regretType,
                                          CancellationToken cancellation = default(CancellationToken))
        {
            return Queued(() => regretTL(regretType), cancellation);
        }

        /// <summary><see cref="resetTL"/>, queued.</summary>
        public Task<Result> resetTLAsync(CancellationToken cancellation = default(CancellationToken))
        {
            return Queued(() => resetTL(), cancellation);
        }

        /// <summary><see cref="adminModeTL"/>, queued.</summary>
        public Task<Result> adminModeTLAsync(short adminModeType,
                                             CancellationToken cancellation = default(CancellationToken))
        {
            return Queued(() => adminModeTL(adminModeType), cancellation);
        }

        /// <summary><see cref="collectToCashFloatTL"/>, queued.</summary>
        public Task<RestArraysResult> collectToCashFloatTLAsync(
            short type, string transactionId, CancellationToken cancellation = default(CancellationToken))
        {
            return Queued(() => collectToCashFloatTL(type, transactionId), cancellation);
        }

        /// <summary><see cref="endReplenishTL"/>, queued.</summary>
        public Task<Result> endReplenishTLAsync(string transactionId,
                                                CancellationToken cancellation = default(CancellationToken))
        {
            return Queued(() => endReplenishTL(transactionId), cancellation);
        }

        /// <summary><see cref="unlockTL"/>, queued.</summary>
        public Task<Result> unlockTLAsync(uint number, CancellationToken cancellation = default(CancellationToken))
        {
            return Queued(() => unlockTL(number), cancellation);
        }

        /// <summary><see cref="purgeTL"/>, queued.</summary>
        public Task<RestArraysResult> purgeTLAsync(uint number, string transactionId,
                                                 CancellationToken cancellation = default(CancellationToken))
        {
            return Queued(() => purgeTL(number, transactionId), cancellation);
        }

        /// <summary><see cref="dispenseSpecifiedTL"/>, queued.</summary>
        public Task<RestArraysResult> dispenseSpecifiedTLAsync(
            short type, CashCountRecord[] coins, CashCountRecord[] notes, string transactionId,
            CancellationToken cancellation = default(CancellationToken))
        {
            // As they are now: the caller may use its arrays again before the call begins.
            coins = (CashCountRecord[])coins?.Clone();
            notes = (CashCountRecord[])notes?.Clone();
            return Queued(() => dispenseSpecifiedTL(type, coins, notes, transactionId), cancellation);
        }

        /// <summary><see cref="cashCountTL"/>, queued.</summary>
        public Task<CountResult> cashCountTLAsync(CancellationToken cancellation = default(CancellationToken))
        {
            return Queued(() => cashCountTL(), cancellation);
        }

        /// <summary><see cref="completeCashCountTL"/>, queued.</summary>
        public Task<CountResult> completeCashCountTLAsync(
            CancellationToken cancellation = default(CancellationToken))
        {
            return Queued(() => completeCashCountTL(), cancellation);
        }

        /// <summary><see cref="Close"/> on another thread.</summary>
        public Task<Result[]> CloseAsync()
        {
            RefuseInsideEvent("CloseAsync");
            return Task.Run(() => Close());
        }

        private Task<T> Queued<T>(Func<T> call, CancellationToken cancellation, [CallerMemberName] string name = null)
        {
            RefuseInsideEvent(name);
            return queue.Add(call, cancellation);
        }
    }
}
