# Reads Google Benchmark's CSV and prints a table: time, and where `base` names a row, how many times that row's time.
# Usage: awk -F, -v base=NAME -f report.awk < csv
NR == 1 { gsub(/"/, ""); for (i = 1; i <= NF; i++) column[$i] = i; next }
{
    gsub(/"/, "")
    name[++rows] = $1
    time[rows] = $column["cpu_time"]
    unit[rows] = $column["time_unit"]
    calls[rows] = ("calls" in column) ? $column["calls"] : ""
    requests[rows] = ("driver_requests" in column) ? $column["driver_requests"] : ""
    if ($1 == base)
        base_time = $column["cpu_time"]
}
END {
    for (i = 1; i <= rows; i++) {
        line = sprintf("  %-34s %12.2f %s", name[i], time[i], unit[i])
        if (base_time > 0)
            line = line sprintf("  %8.2f x", time[i] / base_time)
        if (calls[i] != "")
            line = line sprintf("  %8d platform calls", calls[i])
        if (requests[i] != "")
            line = line sprintf("  %d to the driver", requests[i])
        print line
    }
}
