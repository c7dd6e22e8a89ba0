-- A table for the records that taqldf export --format=csv writes.
--
--   taqldf export --format=csv -o records.csv
--   psql -c '\copy taq_records FROM records.csv CSV HEADER'
CREATE TABLE IF NOT EXISTS taq_records
(
    time timestamptz NOT NULL,
    epoch integer NOT NULL,
    severity text,
    sev smallint NOT NULL,
    id text NOT NULL,
    category integer NOT NULL,
    msgid integer NOT NULL,
    object_type text,
    object text,
    host text NOT NULL,
    log text NOT NULL,
    generation text,
    record integer NOT NULL,
    "offset" bigint NOT NULL,
    file text,
    function text,
    line bigint NOT NULL,
    seq bigint,
    arg_a text,
    arg_b text,
    arg_c text,
    arg_d text,
    arg_e text,
    arg_f text,
    text text,
    lang text NOT NULL,
    uid text PRIMARY KEY
);
CREATE INDEX IF NOT EXISTS taq_records_time ON taq_records (time);
CREATE INDEX IF NOT EXISTS taq_records_message ON taq_records (category, msgid, time);
