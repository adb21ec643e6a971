using System;
using System.Collections.Generic;
using System.Globalization;
using System.Runtime.InteropServices;

namespace Tllogics
{
    /// <summary>The status codes; docs/statuses.md tells what each call means by them.</summary>
    public static class Statuses
    {
        /// <summary>Done; of a payment: begun, or over with PayOutOkCheck 1.</summary>
        public const short TL_STATUS_OK = 0;
        /// <summary>The device is busy.</summary>
        public const short TL_STATUS_BUSY = 1;
        /// <summary>The text tells which error; an empty one is out of memory.</summary>
        public const short TL_STATUS_ERROR = 2;
        /// <summary>initTL on a library that is initiated already.</summary>
        public const short TL_STATUS_WARNING = 3;
        /// <summary>An argument is wrong.</summary>
        public const short TL_STATUS_INPUT_PARAM_ERROR = 4;
        /// <summary>Nobody is logged in.</summary>
        public const short TL_STATUS_CLOSED = 5;
        /// <summary>The device did not do it in time; of a payment: it may have paid.</summary>
        public const short TL_STATUS_TIMEOUT = 6;
        /// <summary>The command may not have got through; of a payment: it may have paid.</summary>
        public const short TL_STATUS_SEND_FAILED = 7;
        /// <summary>The amount can't be paid exactly.</summary>
        public const short TL_STATUS_NOT_POSSIBLE = 8;
        /// <summary>More to deposit than was paid in.</summary>
        public const short TL_STATUS_AMOUNT_TOO_BIG = 10;
        /// <summary>More paid out than the settings allow per time.</summary>
        public const short TL_STATUS_PAYOUT_LIMIT = 11;
        /// <summary>Not allowed in this state.</summary>
        public const short TL_STATUS_NOT_SUPPORTED = 12;
        /// <summary>The device took the command and did not do as told.</summary>
        public const short TL_STATUS_FAILED_TO_COMPLY = 13;
    }

    /// <summary>Names, and on Linux numbers, of the messages that registerHwndTL has sent.</summary>
    public static class Messages
    {
        /// <summary>For RegisterWindowMessage.</summary>
        public const string TL_MESSAGE_NAME_CASHLEVEL = "WM_TL_CALLBACK_CASHLEVEL";
        /// <summary>For RegisterWindowMessage.</summary>
        public const string TL_MESSAGE_NAME_CASHSESSION = "WM_TL_CALLBACK_CASHSESSION";
        /// <summary>For RegisterWindowMessage.</summary>
        public const string TL_MESSAGE_NAME_ERROR = "WM_TL_CALLBACK_ERROR";
        /// <summary>For RegisterWindowMessage.</summary>
        public const string TL_MESSAGE_NAME_INFORMATION = "WM_TL_CALLBACK_INFORMATION";
        /// <summary>For RegisterWindowMessage.</summary>
        public const string TL_MESSAGE_NAME_STATUS = "WM_TL_CALLBACK_STATUS";
        /// <summary>wParam: numberOf; lParam: denomination.</summary>
        public const uint TL_MESSAGE_CASHLEVEL = 0xC000;
        /// <summary>wParam: infoType; lParam: amount.</summary>
        public const uint TL_MESSAGE_CASHSESSION = 0xC001;
        /// <summary>wParam: 0; lParam: the error code.</summary>
        public const uint TL_MESSAGE_ERROR = 0xC002;
        /// <summary>wParam: 4; lParam: 0.</summary>
        public const uint TL_MESSAGE_INFORMATION = 0xC003;
        /// <summary>wParam: nMode * 100 + nStatus; lParam: the amount.</summary>
        public const uint TL_MESSAGE_STATUS = 0xC004;
    }

    /// <summary>Whether a call moved money, as far as its status tells.</summary>
    public enum Money
    {
        /// <summary>None moved.</summary>
        No,
        /// <summary>It moved, or is about to; "Done" does not say that all came out.</summary>
        Yes,
        /// <summary>It may have moved: count, don't retry.</summary>
        Unknown
    }

    /// <summary>One denomination of a count.</summary>
    [StructLayout(LayoutKind.Sequential)]
    public struct CashCountRecord
    {
        /// <summary>In the smallest unit.</summary>
        public int nDenomination;
        /// <summary>The device's first count.</summary>
        public int nCount;
        /// <summary>Its second count; 0 if it gives one only.</summary>
        public int nRecycle;
        /// <summary>Both together; 0 if it gives one only.</summary>
        public int nTotal;
    }

    /// <summary>What a call answered.</summary>
    public class Result
    {
        // The statuses that each call which moves money knows: "+" it moved, "?" it may have.
        private static readonly Dictionary<string, string> paying = new Dictionary<string, string>
        {
            { "depositTL", "0+ 1 2 4 5 7? 12" },
            { "dispenseTL", "0+ 1 2 4 5 6? 7? 8 11 12" },
            { "payoutTL", "0+ 1 2 4 5 6? 7? 8 10 11 12" },
            { "payout2TL", "0+ 1 2 4 5 6? 7? 8 10 11 12" },
            { "amountDueTL", "0+ 1 2 4 5 6? 7? 8 10 11 12" },
            { "changeTL", "0+ 1 2 4 5 6? 7? 12" },
            { "regretTL", "0+ 1 2 4 5 6? 7? 12" },
            { "collectToCashFloatTL", "0? 1 2 4 5 7? 12 13+" },
            { "purgeTL", "0? 1 2 4 5 7? 12 13+" },
            { "dispenseSpecifiedTL", "0? 1 2 4 5 7? 12 13+" },
        };

        internal Result(string call, short status, string text)
        {
            Call = call;
            Status = status;
            Text = text;
            Money = MoneyOf(call, status, text);
        }

        internal Result(Result result) : this(result.Call, result.Status, result.Text) { }

        /// <summary>The name of the function.</summary>
        public string Call { get; }

        /// <summary>One of the codes of <see cref="Statuses"/>, or of the device's library from initTL.</summary>
        public short Status { get; }

        /// <summary>The "message": the language file's text for the outcome. The get...InfoTL have none.</summary>
        public string Text { get; }

        /// <summary>Whether money moved.</summary>
        public Money Money { get; }

        /// <summary>The status is TL_STATUS_OK.</summary>
        public bool Ok
        {
            get { return Status == Statuses.TL_STATUS_OK; }
        }

        /// <summary>"call: status, text", as for a log.</summary>
        public override string ToString()
        {
            return string.Format(CultureInfo.InvariantCulture, "{0}: {1}, {2}", Call, Status, Text);
        }

        internal static Money MoneyOf(string call, short status, string text)
        {
            string statuses;
            if (!paying.TryGetValue(call, out statuses))
                return Money.No;
            // Out of memory, wherever the call was then.
            if (status == Statuses.TL_STATUS_ERROR && text.Length == 0)
                return Money.Unknown;
            string number = status.ToString(CultureInfo.InvariantCulture);
            foreach (string known in statuses.Split(' '))
                if (known.TrimEnd('+', '?') == number)
                    return known.EndsWith("+", StringComparison.Ordinal) ? Money.Yes
                        : known.EndsWith("?", StringComparison.Ordinal) ? Money.Unknown : Money.No;
            return Money.Unknown;
        }
    }

    /// <summary>What dispenseTL, askPayout2TL, payout2TL and amountDueTL answered.</summary>
    public sealed class RestResult : Result
    {
        internal RestResult(Result result, int amountRest) : base(result)
        {
            this.amountRest = amountRest;
        }

        /// <summary>What the device can't make up if the status is TL_STATUS_NOT_POSSIBLE, else 0.</summary>
        public int amountRest { get; }
    }

    /// <summary>What isOpenTL answered.</summary>
    public sealed class OpenResult : Result
    {
        internal OpenResult(Result result, bool open) : base(result)
        {
            this.open = open;
        }

        /// <summary>The device's last message says that it is open for cash and not busy.</summary>
        public bool open { get; }
    }

    /// <summary>What infoTL answered.</summary>
    public sealed class InfoResult : Result
    {
        internal InfoResult(Result result, uint level, string commands, string master, string info) : base(result)
        {
            this.level = level;
            this.commands = commands;
            this.master = master;
            this.info = info;
        }

        /// <summary>0 nothing is known, 1 the commands, 2 the version text too.</summary>
        public uint level { get; }
        /// <summary>The device's command letters.</summary>
        public string commands { get; }
        /// <summary>Its version "NN.NN".</summary>
        public string master { get; }
        /// <summary>Its version text.</summary>
        public string info { get; }
    }

    /// <summary>What a call that hands out coins and notes answered: the arrays as they stand after it, so what
    /// dispenseSpecifiedTL was given if it handed out nothing.</summary>
    public class CountResult : Result
    {
        internal CountResult(Result result, CashCountRecord[] coins, CashCountRecord[] notes) : base(result)
        {
            this.coins = coins;
            this.notes = notes;
        }

        /// <summary>The coins.</summary>
        public CashCountRecord[] coins { get; }
        /// <summary>The notes.</summary>
        public CashCountRecord[] notes { get; }
    }

    /// <summary>What collectToCashFloatTL, purgeTL and dispenseSpecifiedTL answered: what was left.</summary>
    public sealed class RestArraysResult : CountResult
    {
        internal RestArraysResult(CountResult result, uint amountRest) : base(result, result.coins, result.notes)
        {
            this.amountRest = amountRest;
        }

        /// <summary>The amount of all coins and notes handed back.</summary>
        public uint amountRest { get; }
    }

    /// <summary>What getErrorInfoTL answered.</summary>
    public sealed class ErrorInfoResult : Result
    {
        internal ErrorInfoResult(Result result, string errorText, string extInfo) : base(result)
        {
            this.errorText = errorText;
            this.extInfo = extInfo;
        }

        /// <summary>As in <see cref="TLErrorEvent"/>.</summary>
        public string errorText { get; }
        /// <summary>As in <see cref="TLErrorEvent"/>.</summary>
        public string extInfo { get; }
    }

    /// <summary>What getCashLevelInfoTL and getCashSessionInfoTL answered.</summary>
    public sealed class ExtInfoResult : Result
    {
        internal ExtInfoResult(Result result, string extInfo) : base(result)
        {
            this.extInfo = extInfo;
        }

        /// <summary>As in the event.</summary>
        public string extInfo { get; }
    }

    /// <summary>What getLevelWarningInfoTL answered.</summary>
    public sealed class LevelWarningInfoResult : Result
    {
        internal LevelWarningInfoResult(Result result, int warningType, string chTypeString,
                                        string chDenominationString, string chWarningMessage, string extInfo)
            : base(result)
        {
            this.warningType = warningType;
            this.chTypeString = chTypeString;
            this.chDenominationString = chDenominationString;
            this.chWarningMessage = chWarningMessage;
            this.extInfo = extInfo;
        }

        /// <summary>As in <see cref="TLLevelWarningEvent"/>.</summary>
        public int warningType { get; }
        /// <summary>Its word.</summary>
        public string chTypeString { get; }
        /// <summary>As the device writes it.</summary>
        public string chDenominationString { get; }
        /// <summary>A whole sentence.</summary>
        public string chWarningMessage { get; }
        /// <summary>The device's own text.</summary>
        public string extInfo { get; }
    }
}
