#include "BsxTime.h"

#include <cmath>
#include <cstdio>

namespace BSX {

namespace {
// Days from 1970-01-01 of a proleptic Gregorian date, and back.
long long DaysFromCivil(long long y, unsigned m, unsigned d)
{
    y -= m <= 2;
    const long long era = (y >= 0 ? y : y - 399) / 400;
    const unsigned yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<long long>(doe) - 719468;
}

void CivilFromDays(long long z, int& y, int& m, int& d)
{
    z += 719468;
    const long long era = (z >= 0 ? z : z - 146096) / 146097;
    const unsigned doe = static_cast<unsigned>(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const long long yy = static_cast<long long>(yoe) + era * 400;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    d = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
    m = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    y = static_cast<int>(yy + (m <= 2));
}

const long long kOleEpochFromUnix = -25569; // 1899-12-30 in days from 1970-01-01
const double kMaxOleDays = 2958465.0;       // 9999-12-31
const double kMinOleDays = -657434.0;       // 0100-01-01
} // namespace

BsxTime::BsxTime(double value) : m_value(value) { Split(); }

BsxTime::BsxTime(int year, int month, int day, int hour, int minute, int second)
{
    long long days = DaysFromCivil(year, static_cast<unsigned>(month), static_cast<unsigned>(day)) - kOleEpochFromUnix;
    double frac = (hour * 3600.0 + minute * 60.0 + second) / 86400.0;
    // OLE dates before the epoch keep a forward-counting fraction: -1.25 is 1899-12-29 06:00
    m_value = days >= 0 ? static_cast<double>(days) + frac : static_cast<double>(days) - frac;
    Split();
}

void BsxTime::Split()
{
    // Values outside the years 100 to 9999, and NaN, are shown as the epoch
    double v = m_value;
    if (!std::isfinite(v) || v > kMaxOleDays + 1 || v < kMinOleDays - 1) v = 0.0;
    double dayPart = std::trunc(v);
    double frac = std::fabs(v - dayPart);
    long long seconds = std::llround(frac * 86400.0);
    long long days = static_cast<long long>(dayPart);
    if (seconds >= 86400) { seconds -= 86400; days += (v < 0 ? -1 : 1); }
    CivilFromDays(days + kOleEpochFromUnix, m_year, m_month, m_day);
    m_hour = static_cast<int>(seconds / 3600);
    m_minute = static_cast<int>((seconds / 60) % 60);
    m_second = static_cast<int>(seconds % 60);
}

BsxUnicodeString BsxTime::Format(const wchar_t* format) const
{
    std::wstring out;
    if (!format) return BsxUnicodeString();
    wchar_t buf[16];
    for (const wchar_t* p = format; *p; ++p) {
        if (*p != L'%' || !p[1]) { out += *p; continue; }
        ++p;
        switch (*p) {
        case L'Y': std::swprintf(buf, 16, L"%04d", m_year); out += buf; break;
        case L'm': std::swprintf(buf, 16, L"%02d", m_month); out += buf; break;
        case L'd': std::swprintf(buf, 16, L"%02d", m_day); out += buf; break;
        case L'H': std::swprintf(buf, 16, L"%02d", m_hour); out += buf; break;
        case L'M': std::swprintf(buf, 16, L"%02d", m_minute); out += buf; break;
        case L'S': std::swprintf(buf, 16, L"%02d", m_second); out += buf; break;
        case L'%': out += L'%'; break;
        default: out += L'%'; out += *p; break;
        }
    }
    return BsxUnicodeString(std::move(out));
}

} // namespace BSX
