-- Functions of the demo shop.
CREATE FUNCTION fn_order_total(p_order_id integer) RETURNS numeric
LANGUAGE sql STABLE AS $$
    SELECT coalesce(sum(quantity * unit_price), 0) FROM order_items WHERE order_id = p_order_id;
$$;

CREATE FUNCTION fn_customer_name(p_customer_id integer) RETURNS text
LANGUAGE sql STABLE AS $$
    SELECT first_name || ' ' || last_name FROM customers WHERE customer_id = p_customer_id;
$$;

CREATE FUNCTION fn_stock_on_hand(p_product_id integer) RETURNS integer
LANGUAGE sql STABLE AS $$
    SELECT coalesce(sum(quantity), 0)::integer FROM stock WHERE product_id = p_product_id;
$$;

CREATE FUNCTION fn_needs_reorder(p_product_id integer) RETURNS boolean
LANGUAGE plpgsql STABLE AS $$
BEGIN
    -- Any warehouse under its level counts.
    RETURN EXISTS (SELECT 1 FROM stock WHERE product_id = p_product_id AND quantity < reorder_level);
END;
$$;

CREATE FUNCTION fn_loyalty_level(p_points integer) RETURNS text
LANGUAGE plpgsql IMMUTABLE AS $$
BEGIN
    IF p_points >= 5000 THEN
        RETURN 'gold';
    ELSIF p_points >= 1000 THEN
        RETURN 'silver';
    END IF;
    RETURN 'bronze';
END;
$$;

CREATE FUNCTION fn_price_with_vat(p_price numeric, p_rate numeric DEFAULT 0.19) RETURNS numeric
LANGUAGE sql IMMUTABLE AS $$
    SELECT round(p_price * (1 + p_rate), 2);
$$;

CREATE FUNCTION fn_category_path(p_category_id integer) RETURNS text
LANGUAGE sql STABLE AS $$
    WITH RECURSIVE up(id, parent_id, name, depth) AS (
        SELECT category_id, parent_id, name, 0 FROM categories WHERE category_id = p_category_id
        UNION ALL
        SELECT c.category_id, c.parent_id, c.name, up.depth + 1
        FROM categories c JOIN up ON c.category_id = up.parent_id
    )
    SELECT string_agg(name, ' / ' ORDER BY depth DESC) FROM up;
$$;

CREATE FUNCTION fn_open_orders(p_customer_id integer)
RETURNS TABLE (order_id integer, ordered_at timestamptz, total numeric)
LANGUAGE sql STABLE AS $$
    SELECT o.order_id, o.ordered_at, o.total FROM orders o
    WHERE o.customer_id = p_customer_id AND o.status = 'open'
    ORDER BY o.ordered_at;
$$;

CREATE FUNCTION fn_amount_due(p_order_id integer) RETURNS numeric
LANGUAGE plpgsql STABLE AS $$
DECLARE
    v_total numeric;
    v_paid numeric;
BEGIN
    SELECT total INTO v_total FROM orders WHERE order_id = p_order_id;
    SELECT coalesce(sum(amount), 0) INTO v_paid FROM payments WHERE order_id = p_order_id;
    RETURN greatest(coalesce(v_total, 0) - v_paid, 0);
END;
$$;

CREATE FUNCTION fn_sales_between(p_from date, p_to date) RETURNS numeric
LANGUAGE sql STABLE AS $$
    SELECT coalesce(sum(total), 0) FROM orders
    WHERE status IN ('paid', 'shipped') AND ordered_at >= p_from AND ordered_at < p_to + 1;
$$;

-- Trigger functions.
CREATE FUNCTION trg_fn_touch_updated_at() RETURNS trigger
LANGUAGE plpgsql AS $$
BEGIN
    NEW.updated_at := now();
    RETURN NEW;
END;
$$;

CREATE FUNCTION trg_fn_log_price_change() RETURNS trigger
LANGUAGE plpgsql AS $$
BEGIN
    IF NEW.unit_price IS DISTINCT FROM OLD.unit_price THEN
        INSERT INTO price_history (product_id, old_price, new_price)
        VALUES (NEW.product_id, OLD.unit_price, NEW.unit_price);
    END IF;
    RETURN NEW;
END;
$$;

CREATE FUNCTION trg_fn_recalc_order_total() RETURNS trigger
LANGUAGE plpgsql AS $$
DECLARE
    v_order integer := coalesce(NEW.order_id, OLD.order_id);
BEGIN
    UPDATE orders SET total = fn_order_total(v_order) WHERE order_id = v_order;
    RETURN NULL;
END;
$$;

CREATE FUNCTION trg_fn_audit() RETURNS trigger
LANGUAGE plpgsql AS $$
BEGIN
    INSERT INTO audit_log (table_name, action, row_key)
    VALUES (TG_TABLE_NAME, left(TG_OP, 1),
            CASE WHEN TG_OP = 'DELETE' THEN row_to_json(OLD)::text ELSE row_to_json(NEW)::text END);
    RETURN coalesce(NEW, OLD);
END;
$$;

CREATE FUNCTION trg_fn_check_stock() RETURNS trigger
LANGUAGE plpgsql AS $$
BEGIN
    IF fn_stock_on_hand(NEW.product_id) < NEW.quantity THEN
        RAISE EXCEPTION 'Not enough stock for product %', NEW.product_id;
    END IF;
    RETURN NEW;
END;
$$;

CREATE FUNCTION trg_fn_mark_paid() RETURNS trigger
LANGUAGE plpgsql AS $$
BEGIN
    IF fn_amount_due(NEW.order_id) = 0 THEN
        UPDATE orders SET status = 'paid' WHERE order_id = NEW.order_id AND status = 'open';
    END IF;
    RETURN NEW;
END;
$$;

CREATE FUNCTION trg_fn_award_points() RETURNS trigger
LANGUAGE plpgsql AS $$
BEGIN
    IF NEW.status = 'paid' AND OLD.status <> 'paid' THEN
        UPDATE customers SET loyalty_points = loyalty_points + floor(NEW.total)::integer
        WHERE customer_id = NEW.customer_id;
    END IF;
    RETURN NEW;
END;
$$;
