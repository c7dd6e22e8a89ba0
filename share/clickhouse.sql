-- A table for the records that taqldf export writes as JSON Lines. Records that are loaded twice become one.
--
--   taqldf export | clickhouse-client --query 'INSERT INTO taq_records FORMAT JSONEachRow'
--     with --input_format_skip_unknown_fields=1 --date_time_input_format=best_effort
CREATE TABLE IF NOT EXISTS taq_records
(
    time DateTime('UTC'),
    epoch Int32,
    severity Nullable(String),
    sev UInt8,
    id String,
    category UInt16,
    msgid UInt16,
    object_type Nullable(String),
    object Nullable(String),
    host String,
    log String,
    generation Nullable(String),
    record UInt32,
    offset UInt64,
    file Nullable(String),
    function Nullable(String),
    line UInt32,
    seq Nullable(UInt32),
    args Array(String),
    args_b64 Array(String),
    text Nullable(String),
    lang String,
    uid String
)
ENGINE = ReplacingMergeTree
PARTITION BY toYYYYMM(time)
ORDER BY (host, log, time, uid);
