#pragma once
// Date-time of the host: an OLE automation date, days since 1899-12-30 00:00 with the
// time of day as the fraction (for negative dates the fraction still counts forward).
#include "BsxUnicodeString.h"

namespace BSX {

/// Date-time of the host: days since 1899-12-30 00:00, the time of day as the fraction
class BsxTime {
public:
    /// 1899-12-30 00:00, from a day count, or from calendar fields
    ///@{
    BsxTime() = default;
    explicit BsxTime(double value);
    BsxTime(int year, int month, int day, int hour = 0, int minute = 0, int second = 0);
    ///@}

    /// The day count
    double GetValue() const { return m_value; }
    /// Calendar fields, the second rounded
    ///@{
    int GetYear() const { return m_year; }
    int GetMonth() const { return m_month; }
    int GetDay() const { return m_day; }
    int GetHour() const { return m_hour; }
    int GetMinute() const { return m_minute; }
    int GetSecond() const { return m_second; }
    ///@}

    /// strftime-like: %Y %m %d %H %M %S and %%; other characters are copied
    BsxUnicodeString Format(const wchar_t* format) const;

private:
    void Split();
    double m_value = 0.0;
    int m_year = 1899, m_month = 12, m_day = 30, m_hour = 0, m_minute = 0, m_second = 0;
};

} // namespace BSX
