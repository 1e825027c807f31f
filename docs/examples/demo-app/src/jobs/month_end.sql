-- Month-end figures.
SELECT month, total FROM vw_monthly_sales WHERE month = date_trunc('month', now());
SELECT public.fn_sales_between ( date '2026-01-01', date '2026-01-31' );
SELECT customer_id, fn_amount_due (customer_id) FROM vw_customer_overview;
