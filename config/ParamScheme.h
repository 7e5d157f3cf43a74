// Time window and enable flag of one parameter scheme.
#pragma once

// Times are hour*100 + minute. A plain record: the controller checks values.
class ParamScheme {
public:
    ParamScheme() = default;

    void setStartTime(int t) { m_nStartTime = t; }
    void getStartTime(int& t) const { t = m_nStartTime; }
    void setEndTime(int t) { m_nEndTime = t; }
    void getEndTime(int& t) const { t = m_nEndTime; }
    void setEnableFlag(int f) { m_nEnableFlag = f; }
    void getEnableFlag(int& f) const { f = m_nEnableFlag; }

private:
    int m_nStartTime = 0;
    int m_nEndTime = 0;
    int m_nEnableFlag = 0;
};
